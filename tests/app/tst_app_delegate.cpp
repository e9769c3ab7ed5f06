// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MainWindowInterface.h"
#include "app/ZoomSlider.h"
#include "platform/desktop/NotificationBridge.h"
#include "platform/desktop/UserDefaults.h"
#include "platform/desktop/Workspace.h"
#include "platform/views/ImageBrowserView.h"
#include "platform/views/OutlineView.h"
#include "platform/views/TableView.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"

#include <QAction>
#include <QCoreApplication>
#include <QLabel>
#include <QTest>
#include <QTimer>

namespace {

MainWindowInterface* mainInterface = nullptr;
std::unique_ptr<LogLines> logLines;
QStringList startUpLog;
TestHome* testHome = nullptr;

class ImageWindow : public QWidget {
    Q_OBJECT
};

/// A controller whose window tells of its closing.
class FakeController : public platform::WindowController {
    Q_OBJECT

    class Window : public QWidget {
     public:
        explicit Window(FakeController& controller) : _controller(controller) {}

     protected:
        void closeEvent(QCloseEvent*) override { Q_EMIT _controller.windowWillClose(); }

     private:
        FakeController& _controller;
    };

 public:
    explicit FakeController(const platform::WindowRequest& request) : _window(*this) {
        _window.setObjectName(request.windowNibName);
        _window.show();
    }
    QWidget* window() const override { return &_window; }

 private:
    mutable Window _window;
};

class FakeBridge : public platform::NotificationBridge {
 public:
    bool isGrowlInstalled() const override { return true; }
    bool isGrowlRunning() const override { return true; }
    void notify(const QString& title, const QString& description, const QString& notificationName,
                const std::optional<QByteArray>& iconData, int priority, bool isSticky,
                const QString& clickContext) override {
        sent = {title, description, notificationName, clickContext};
        isPlain = !iconData && priority == 0 && !isSticky;
    }
    QStringList sent;
    bool isPlain = false;
};

/// The messages of one class, without the file system's or the views' part in them.
QStringList linesOf(const QStringList& lines, const QString& prefix) {
    return lines.filter(prefix);
}

}  // namespace

/// Runs inside the program's own event loop, with the real main interface.
class TestAppDelegate : public QObject {
    Q_OBJECT

    TavlinAppDelegate& delegate() { return mainInterface->delegate(); }
    MainWindow& window() { return mainInterface->mainWindow(); }
    platform::OutlineView& outline() { return window().outline(); }
    QAction& action(const char* name) { return *mainInterface->mainMenu().action(QString::fromLatin1(name)); }
    QString selectedPath() {
        const auto* item = dynamic_cast<FileSystemItem*>(outline().itemAtRow(outline().selectedRow()));
        return item == nullptr ? QString() : item->fullPath();
    }
    bool validates(const QString& keyEquivalent) {
        return delegate().validateMenuItem(platform::MenuItem(nullptr, keyEquivalent));
    }

 private Q_SLOTS:
    // The test library listens to the log itself from now on; this takes it back.
    void initTestCase() { logLines = std::make_unique<LogLines>(); }
    void cleanup() { logLines->taken(); }
    void cleanupTestCase() { logLines.reset(); }

    void startUpOrder() {
        const QStringList marks{
            QStringLiteral("-[PreferencesDictionary plausibilitaetsTest] (210): foo"),
            QStringLiteral("-[PreferencesDictionary load] (121): "),
            QStringLiteral("-[TavlinAppDelegate applicationDidFinishLaunching:] (43): Starting up!"),
            QStringLiteral("-[FileBrowserDataSource outlineView:numberOfChildrenOfItem:] (139): "),
            QStringLiteral("-[TavlinAppDelegate applicationDidFinishLaunching:] (101): Started up!"),
            QStringLiteral("-[ImageBrowserDataSource reloadWithPath:] (95): Reloading for path: ")};
        qsizetype from = 0;
        for (const QString& mark : marks) {
            const auto found = std::find_if(startUpLog.begin() + from, startUpLog.end(),
                                            [&](const QString& line) { return line.startsWith(mark); });
            QVERIFY2(found != startUpLog.end(), qPrintable(mark + u'\n' + startUpLog.join(u'\n')));
            from = found - startUpLog.begin();
        }
        QCOMPARE(linesOf(startUpLog, QStringLiteral("applicationDidFinishLaunching")).size(), 2);
    }

    void startUpResults() {
        const auto icon = [](const QString& key) {
            return appGlobals->objectForKey(key).value<platform::ImageRef>();
        };
        QVERIFY(icon(PreferenceKeys::imageFolder) != nullptr);
        QCOMPARE(icon(PreferenceKeys::imageFolder), icon(PreferenceKeys::imageURL));
        QCOMPARE(icon(PreferenceKeys::imageFolder)->size(), QSizeF(16, 16));
        QCOMPARE(appGlobals->objectForKey(PreferenceKeys::growlIsReady), QVariant(false));
        QCOMPARE(outline().tableColumnWithIdentifier(QStringLiteral("folders"))->headerTitle(),
                 QStringLiteral("Folders"));
        QCOMPARE(delegate()
                     .scriptsTableView->tableColumnWithIdentifier(QStringLiteral("scriptNames"))
                     ->headerTitle(),
                 QStringLiteral("Scripts"));
        QVERIFY(window().isVisible());
    }

    void menuValidation_data() {
        QTest::addColumn<QString>("keyEquivalent");
        QTest::addColumn<QString>("opened");
        QTest::addColumn<bool>("isEnabled");
        QTest::addColumn<QString>("lastLog");
        const auto row = [](const char* name, const char* key, const char* opened, bool isEnabled,
                            const char* log) {
            QTest::newRow(name) << QString::fromLatin1(key) << QString::fromLatin1(opened) << isEnabled
                                << QString::fromLatin1(log);
        };
        row("preferences, closed", ",", "", true, "(234): _preferencesWindowController: 0x0");
        row("preferences, open", ",", "PreferencesWindow", false, "(237): validateMenuItem: NOpe.");
        row("preferences while about is open", ",", "AboutWindow", true, "(234): ");
        row("about, closed", "i", "", true, "(248): _aboutWindowController: 0x0");
        row("about, open", "i", "AboutWindow", false, "(251): validateMenuItem: NOpe.");
        row("print, main window in front", "p", "", false, "(268): frontMostWindow className: MainWindow");
        row("print, image window in front", "p", "ImageWindow", true,
            "(268): frontMostWindow className: ImageWindow");
        row("print, no window", "p", "none", false, "(277): No windows open.");
        row("capital P", "P", "", true, "(230): Start validation for menu item with key equiv.: P");
        row("no key", "", "", true, "(230): Start validation for menu item with key equiv.: ");
    }
    void menuValidation() {
        QFETCH(const QString, keyEquivalent);
        QFETCH(const QString, opened);
        QFETCH(const QString, lastLog);
        ImageWindow imageWindow;
        if (opened == u"PreferencesWindow")
            delegate().openPreferencesWindow(this);
        else if (opened == u"AboutWindow")
            delegate().openAboutWindow(this);
        else if (opened == u"ImageWindow")
            imageWindow.show();
        else if (opened == u"none")
            window().hide();
        logLines->taken();
        QTEST(validates(keyEquivalent), "isEnabled");
        const QStringList lines = linesOf(logLines->taken(), QStringLiteral("validateMenuItem:] "));
        QVERIFY(lines.constFirst().endsWith(
            QStringLiteral("(230): Start validation for menu item with key equiv.: ") + keyEquivalent));
        QVERIFY2(lines.constLast().contains(lastLog), qPrintable(lines.constLast()));

        for (QWidget* other : platform::Application::shared()->orderedWindows())
            if (other != &window())
                other->close();
        window().show();
        QVERIFY(validates(QStringLiteral(",")) && validates(QStringLiteral("i")));
    }

    /// The shared actions, and with them the shortcuts, follow without a menu being opened.
    void actionsFollowTheWindows() {
        QTRY_VERIFY(action("Preferences").isEnabled());
        delegate().openPreferencesWindow(this);
        QTRY_VERIFY(!action("Preferences").isEnabled());
        QVERIFY(!action("ZoomIn").isEnabled());
        logLines->taken();
        platform::Application::shared()->orderedWindows().constFirst()->close();
        QCOMPARE(linesOf(logLines->taken(), QStringLiteral("WindowDidClose")),
                 QStringList(QStringLiteral("-[TavlinAppDelegate preferencesWindowDidClose:] (148): Start")));
        QTRY_VERIFY(action("Preferences").isEnabled());
        QVERIFY(action("ZoomIn").isEnabled());

        delegate().openAboutWindow(this);
        QTRY_VERIFY(!action("About").isEnabled());
        logLines->taken();
        platform::Application::shared()->orderedWindows().constFirst()->close();
        QCOMPARE(linesOf(logLines->taken(), QStringLiteral("WindowDidClose")),
                 QStringList(QStringLiteral("-[TavlinAppDelegate aboutWindowDidClose:] (223): Start")));
    }

    void comingToTheFront() {
        logLines->taken();
        delegate().applicationWillBecomeActive();
        const QStringList lines = logLines->taken();
        QCOMPARE(lines.at(0),
                 QStringLiteral(
                     "-[TavlinAppDelegate applicationWillBecomeActive:] (309): Since we will now become "
                     "foreground, maybe the user changed something in the filesystem. Reload the "
                     "currently selected stuff."));
        QVERIFY(
            lines.at(1).startsWith(QStringLiteral("-[FileBrowserDataSource reloadContentsOfSelectedItem]")));
    }

    void mountSelectsAndExpandsBesideTheSelection() {
        mainInterface->places().revealFolder(qEnvironmentVariable("HOME"));
        QTRY_COMPARE(selectedPath(), qEnvironmentVariable("HOME"));
        logLines->taken();
        Q_EMIT platform::Workspace::sharedWorkspace().didMount(QStringLiteral("/"), QStringLiteral("Root"));
        const QStringList lines = logLines->taken();
        const auto indexOf = [&lines](const char* text) {
            const auto found = std::find_if(lines.begin(), lines.end(), [&](const QString& line) {
                return line.contains(QString::fromLatin1(text));
            });
            return found == lines.end() ? -1 : found - lines.begin();
        };
        QCOMPARE(
            lines.at(0),
            QStringLiteral("-[TavlinAppDelegate didMount:] (326): Heyho someone mounted something at /"));
        QCOMPARE(lines.at(1),
                 QStringLiteral("-[TavlinAppDelegate didMount:] (328): Localized volume name: Root"));
        QCOMPARE(lines.at(2), QStringLiteral("-[TavlinAppDelegate notifyUsingGrowl:] (467): Start: message: "
                                             "The volume “Root” is there now."));
        QVERIFY(lines.at(3).contains(QStringLiteral("(469): appGlobals: ")));
        QCOMPARE(lines.at(4),
                 QStringLiteral("-[TavlinAppDelegate notifyUsingGrowl:] (493): Growl is not available?"));
        QCOMPARE(lines.at(5), QStringLiteral("-[TavlinAppDelegate notifyUsingGrowl:] (496): Ente"));
        QVERIFY(indexOf("rescanFileSystems") > 5);
        QVERIFY(indexOf("indexOfVolumeWithURL") > indexOf("rescanFileSystems"));
        QTRY_COMPARE(outline().selectionModel()->selectedRows().size(), 2);
        QVERIFY(outline().isExpanded(outline().model()->index(0, 0)));
    }

    void mountOfAnUnlistedVolumeSelectsNothing() {
        mainInterface->places().revealFolder(qEnvironmentVariable("HOME"));
        QTRY_COMPARE(selectedPath(), qEnvironmentVariable("HOME"));
        Q_EMIT platform::Workspace::sharedWorkspace().didMount(QStringLiteral("/not/listed"), QString());
        QTRY_COMPARE(selectedPath(), qEnvironmentVariable("HOME"));
        QCOMPARE(outline().selectionModel()->selectedRows().size(), 1);
    }

    void unmountClearsTheSelection() {
        mainInterface->places().revealFolder(qEnvironmentVariable("HOME"));
        QTRY_COMPARE(selectedPath(), qEnvironmentVariable("HOME"));
        logLines->taken();
        Q_EMIT platform::Workspace::sharedWorkspace().didUnmount(QStringLiteral("/media/x"),
                                                                 QStringLiteral("x"));
        const QStringList lines = logLines->taken();
        QVERIFY(lines.at(0).endsWith(QStringLiteral("(365): Heyho someone unmounted something at /media/x")));
        QVERIFY(lines.at(1).endsWith(QStringLiteral("(367): Localized volume name: x")));
        QTRY_COMPARE(outline().selectedRow(), -1);
    }

    void notifications() {
        FakeBridge bridge;
        delegate().notificationBridge = &bridge;
        delegate().notifyUsingGrowl(QStringLiteral("lost"));
        QVERIFY(bridge.sent.isEmpty());
        appGlobals->setObjectForKey(true, PreferenceKeys::growlIsReady);
        logLines->taken();
        delegate().notifyUsingGrowl(QStringLiteral("news"));
        QCOMPARE(bridge.sent,
                 QStringList({QStringLiteral("Tavlin"), QStringLiteral("news"),
                              QStringLiteral("GrowlNotificationNameKey"), QStringLiteral("egal, eggad!")}));
        QVERIFY(bridge.isPlain);
        QVERIFY(logLines->taken().at(2).endsWith(
            QStringLiteral("(482): Growl is up and running -> sending notification.")));
        appGlobals->setObjectForKey(false, PreferenceKeys::growlIsReady);
        delegate().notificationBridge = nullptr;
    }

    void zoomGoesBothWays() {
        ZoomSlider& slider = window().zoomSlider();
        slider.setFloatValue(0.5F);
        QCOMPARE(window().grid().zoomValue(), 0.5F);
        QTRY_VERIFY(action("ZoomIn").isEnabled());
        action("ZoomIn").trigger();
        QCOMPARE(window().grid().zoomValue(), 0.6F);
        Q_EMIT window().grid().zoomValueChanged(0.2F);
        QCOMPARE(slider.floatValue(), 0.2F);
        slider.setFloatValue(0.05F);
        action("ZoomOut").trigger();
        QCOMPARE(slider.floatValue(), 0.0F);
    }

    /// From a folder to its parent's row, and from a top-level place to where another place holds its parent.
    void parentFolder() {
        const QString home = qEnvironmentVariable("HOME");
        mainInterface->places().revealFolder(home + QStringLiteral("/a/b"));
        for (const QString& parent : {home + QStringLiteral("/a"), home, testHome->path()}) {
            QTRY_VERIFY(!selectedPath().isEmpty());
            action("GoToParentFolder").trigger();
            QTRY_COMPARE(selectedPath(), parent);
        }
    }

    void statusLineTellsCounts() {
        const QString home = qEnvironmentVariable("HOME");
        for (int i = 0; i < 1200; ++i)
            QVERIFY(QFile(home + QStringLiteral("/many/%1.txt").arg(i)).open(QIODevice::WriteOnly));
        mainInterface->places().revealFolder(home + QStringLiteral("/many"));
        const auto* status = window().findChild<QLabel*>(QStringLiteral("_statusLabel"));
        QTRY_COMPARE(status->text(), QStringLiteral("1,200 items"));
        QCOMPARE(window().windowTitle(), QStringLiteral("many"));
        action("SelectAll").trigger();
        QTRY_COMPARE(status->text(), QStringLiteral("1,200 of 1,200 selected"));

        QVERIFY(QFile::remove(home + QStringLiteral("/many/0.txt")));
        window().grid().setSelectionIndexes({}, false);
        action("Reload").trigger();
        QTRY_COMPARE(status->text(), QStringLiteral("1,199 items"));
    }
};

int main(int argc, char** argv) {
    TestHome home;
    testHome = &home;
    qputenv("LC_ALL", "en_US.UTF-8");
    platform::UserDefaults::standardUserDefaults().setDictionaryForKey({{PreferenceKeys::debugLogging, true}},
                                                                       QStringLiteral("PreferencesGlobals"));
    for (const char* name : {"AboutWindow", "PreferencesWindow"})
        platform::InterfaceDescriptions::shared().add(
            QString::fromLatin1(name),
            [](const platform::WindowRequest& request) { return std::make_unique<FakeController>(request); });

    for (const char* folder : {"home/a/b", "home/many"})
        QDir(home.path()).mkpath(QString::fromLatin1(folder));

    int result = 1;
    int one = 1;
    platform::Application::run(one, argv, [&] {
        logLines = std::make_unique<LogLines>();
        auto loaded = MainWindowInterface::load();
        mainInterface = static_cast<MainWindowInterface*>(loaded.get());
        QTimer::singleShot(0, &mainInterface->mainWindow(), [&] {
            startUpLog = logLines->taken();
            logLines.reset();
            TestAppDelegate test;
            result = QTest::qExec(&test, argc, argv);
            platform::Application::shared()->terminate();
        });
        return loaded;
    });
    return result;
}

#include "tst_app_delegate.moc"
