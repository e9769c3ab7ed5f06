// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QPoint>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

/// A desktop of a journey's own: X server, window manager, session bus with the accessibility service, home
/// and XDG folders. All of it ends with the object, by process id.
class Desktop {
 public:
    explicit Desktop(QSize size = QSize(1280, 860));
    ~Desktop();

    /// Empty when everything came up, otherwise what is missing: the journey skips with it.
    const QString& problem() const { return _problem; }
    const QProcessEnvironment& environment() const { return _environment; }
    QString busAddress() const { return _environment.value(QStringLiteral("DBUS_SESSION_BUS_ADDRESS")); }
    /// A folder of the desktop: "home", "config", "state", "cache", "data".
    QString folder(const QString& name) const { return _root.filePath(name); }

    QImage screenshot() const;
    /// Saves a screenshot beside the build where TAVLIN_SCREENSHOTS names a folder, for people to look at.
    void keepScreenshot(const QString& name) const;

    /// Clicks with keys held ("ctrl", "shift"), `times` times in a row.
    void click(QPoint screen, int times = 1, const QStringList& held = {}, int button = 1) const;
    void drag(QPoint from, QPoint to) const;
    /// A wheel turn of so many notches, positive down.
    void wheel(QPoint screen, int notches, const QStringList& held = {}) const;
    /// A key as xdotool names it: "ctrl+a", "Return".
    void key(const QString& name) const;
    QString run(const QString& program, const QStringList& arguments) const;
    /// What xdotool says to these words.
    QString xdotool(const QStringList& words) const;
    QString activeTitle() const;
    /// The visible windows whose titles match.
    QStringList windows(const QString& titlePattern) const;
    /// Brings the first of them to the front once there is one, by its title's pattern.
    void bringToFront(const QString& titlePattern) const;

 private:
    bool startServer(QSize size);
    bool startBus();
    bool startWindowManager();
    std::unique_ptr<QProcess> start(const QString& program, const QStringList& arguments) const;

    QTemporaryDir _root;
    QProcessEnvironment _environment;
    QString _problem;
    std::unique_ptr<QProcess> _server;
    std::unique_ptr<QProcess> _bus;
    std::unique_ptr<QProcess> _manager;
};
