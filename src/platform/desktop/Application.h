// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/desktop/MenuItem.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class QWidget;

namespace platform {

class MainMenu;
struct CommandLine;
struct StartRequest;

/// Is told of the program's life. Every call passes the guard.
class ApplicationDelegate {
 public:
    virtual ~ApplicationDelegate() = default;
    virtual void applicationDidFinishLaunching() = 0;
    virtual void applicationWillTerminate() = 0;
    virtual void applicationWillBecomeActive() = 0;
    virtual void applicationWillUnhide() = 0;
    virtual bool validateMenuItem(const MenuItem& item) = 0;
};

/// What an interface description yields: the objects it created, connected to one another and not yet awake.
class MainInterface {
 public:
    virtual ~MainInterface() = default;
    virtual ApplicationDelegate& delegate() = 0;
    virtual QWidget& mainWindow() = 0;
    /// The menus that every window carries.
    virtual MainMenu& mainMenu() = 0;
    /// Gives back window geometry, splitters and zoom of the last run.
    virtual void restoreState() = 0;
    virtual void saveState() = 0;
    /// Runs awakeFromNib of every object once.
    virtual void awake() = 0;
    /// Opens the files and folders that the command line names, absolute; for none, or when none of them is
    /// there before anything else was opened, the folder of the last run.
    virtual void openPaths(const QStringList& paths) = 0;
    /// Whether threads still run that nobody waits for and that use these objects.
    virtual bool hasDetachedWork() const = 0;
};

using MainInterfaceFactory = std::function<std::unique_ptr<MainInterface>()>;

/// The running program: start-up, the windows from front to back, the menus' validation, the end. Main thread
/// only.
class Application : public QObject {
    Q_OBJECT

 public:
    /// The whole life: arguments and PATH, widgets, outlets, kept window state, awakeFromNib,
    /// did-finish-launching, the command line's paths, activation; then the event loop, and at its end the
    /// delegate's applicationWillTerminate once. Where the program runs already, that one comes to the front
    /// with the paths, and this start ends (see RunningInstance.h). Answers the exit status: 0, 1 without a
    /// display or an interface, or where nothing is at a path that was to be handed over, 2 for a command
    /// line that is not understood.
    ///
    /// The program ends when its last window closes, by terminate(), by SIGTERM, SIGINT or SIGHUP, and with
    /// the session. Ending closes no window by event.
    static int run(int argc, char** argv, const MainInterfaceFactory& mainInterface);

    /// Null outside run().
    static Application* shared();

    /// The program's visible windows, the one in front first; pop-ups and sheets do not count.
    QList<QWidget*> orderedWindows() const;
    /// The name of a window's class, without its namespace.
    static QString classNameOfWindow(const QWidget& window);

    /// Ends the event loop as soon as it runs.
    void terminate();
    /// Whether it is about to end: work that lets other things happen meanwhile is to give up then.
    static bool isTerminating();

 protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

 private:
    struct Private;
    explicit Application(std::unique_ptr<Private> d);
    ~Application() override;

    void launch(const CommandLine& commandLine);
    void openOnce(const QStringList& paths);
    void openForOtherStart(const StartRequest& request);
    int enterEventLoop();
    void saveAndSendWillTerminate();
    void validateMenusSoon();

    std::unique_ptr<Private> _d;
};

}  // namespace platform
