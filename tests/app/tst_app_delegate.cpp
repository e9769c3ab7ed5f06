// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MainWindowInterface.h"
#include "images/ImageLoad.h"
#include "platform/desktop/UserDefaults.h"
#include "platform/desktop/Workspace.h"
#include "platform/PathBytes.h"
#include "platform/views/OutlineView.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/LogLines.h"
#include "testing/SlowPlace.h"
#include "testing/TestMain.h"

#include <QAction>
#include <QLabel>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

MainWindowInterface* mainInterface = nullptr;
std::unique_ptr<LogLines> logLines;
QStringList startUpLog;

class ImageWindow : public QWidget {
    Q_OBJECT
};

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

    /// A load goes on in a thread of its own and logs when it likes.
    static QStringList takenWithoutLoads() {
        QStringList lines = logLines->taken();
        lines.removeIf([](const QString& line) { return line.startsWith(u"-[Image"); });
        return lines;
    }

 private Q_SLOTS:
    // The test library listens to the log itself from now on; this takes it back.
    void initTestCase() { logLines = std::make_unique<LogLines>(); }
    void cleanup() { logLines->taken(); }
    void cleanupTestCase() {
        QTRY_COMPARE_WITH_TIMEOUT(ImageLoad::numberRunning(), 0, 30000);  // or one logs while the tests end
        logLines.reset();
    }

    void startUpOrder() {
        const QStringList marks{u"-[PreferencesDictionary plausibilitaetsTest] (210): foo"_s,
                                u"-[PreferencesDictionary load] (121): "_s,
                                u"-[TavlinAppDelegate applicationDidFinishLaunching:] (43): Starting up!"_s,
                                u"-[FileBrowserDataSource outlineView:numberOfChildrenOfItem:] (139): "_s,
                                u"-[TavlinAppDelegate applicationDidFinishLaunching:] (101): Started up!"_s,
                                u"-[ImageBrowserDataSource reloadWithPath:] (95): Reloading for path: "_s};
        qsizetype from = 0;
        for (const QString& mark : marks) {
            const auto found = std::find_if(startUpLog.begin() + from, startUpLog.end(),
                                            [&](const QString& line) { return line.startsWith(mark); });
            QVERIFY2(found != startUpLog.end(), qPrintable(mark + u'\n' + startUpLog.join(u'\n')));
            from = found - startUpLog.begin();
        }
        QCOMPARE(startUpLog.filter(u"applicationDidFinishLaunching"_s).size(), 2);
    }

    /// A file that is not there, and an address that no program opens, cost a line and nothing else.
    void whatCannotBeOpened() {
        platform::Workspace& workspace = platform::Workspace::sharedWorkspace();
        QVERIFY(!workspace.openUrl(QUrl(u"nobody-opens-this:x"_s)));
        QCOMPARE(logLines->taken().filter(u"nobody-opens-this"_s).size(), 1);
        QVERIFY(workspace.openUrl(QUrl::fromLocalFile(u"/nowhere/at all"_s)));
        const auto* status = window().findChild<QLabel*>(u"_statusLabel"_s);
        QTRY_COMPARE_WITH_TIMEOUT(status->text(), u"Could not be opened, see the log"_s, 20000);
        QVERIFY(!logLines->taken().filter(u"no program for a file"_s).isEmpty());
    }

    void menuValidation_data() {
        const Table<QString, QString, bool, QString> row("keyEquivalent", "opened", "isEnabled", "lastLog");
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
        const QStringList lines = logLines->taken().filter(u"validateMenuItem:] "_s);
        QVERIFY(lines.constFirst().endsWith(u"(230): Start validation for menu item with key equiv.: "_s +
                                            keyEquivalent));
        QVERIFY2(lines.constLast().contains(lastLog), qPrintable(lines.constLast()));

        for (QWidget* other : platform::Application::shared()->orderedWindows())
            if (other != &window())
                other->close();
        window().show();
        QVERIFY(validates(u","_s) && validates(u"i"_s));
    }

    /// The shared actions, and with them the shortcuts, follow without a menu being opened.
    void actionsFollowTheWindows() {
        QTRY_VERIFY(action("Preferences").isEnabled());
        delegate().openPreferencesWindow(this);
        QTRY_VERIFY(!action("Preferences").isEnabled());
        QVERIFY(!action("ZoomIn").isEnabled());
        logLines->taken();
        platform::Application::shared()->orderedWindows().constFirst()->close();
        QCOMPARE(logLines->taken().filter(u"WindowDidClose"_s),
                 QStringList(u"-[TavlinAppDelegate preferencesWindowDidClose:] (148): Start"_s));
        QTRY_VERIFY(action("Preferences").isEnabled());
        QVERIFY(action("ZoomIn").isEnabled());

        delegate().openAboutWindow(this);
        QTRY_VERIFY(!action("About").isEnabled());
        logLines->taken();
        platform::Application::shared()->orderedWindows().constFirst()->close();
        QCOMPARE(logLines->taken().filter(u"WindowDidClose"_s),
                 QStringList(u"-[TavlinAppDelegate aboutWindowDidClose:] (223): Start"_s));
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
        QVERIFY(lines.at(1).startsWith(u"-[FileBrowserDataSource reloadContentsOfSelectedItem]"_s));
    }

    void folderOnASlowPlaceGetsItsIcon() {
        const QString folder = qEnvironmentVariable("HOME") + u"/far"_s;
        QVERIFY(QDir().mkdir(folder));
        auto& workspace = platform::Workspace::sharedWorkspace();
        const QSignalSpy arrived(&workspace, &platform::Workspace::iconArrived);
        SlowPlace place(folder);
        platform::FolderReader::shared().setRead(place.read(), std::chrono::milliseconds(5));
        const auto restore =
            qScopeGuard([] { platform::FolderReader::shared().setRead(platform::readFolder); });
        const platform::ImageRef known = workspace.iconForFile(folder, platform::FileKind::folder);
        QVERIFY(*workspace.iconForFile(folder) != *known);
        place.answer();
        QTRY_COMPARE(arrived.size(), 1);
        QCOMPARE(arrived[0][0].toString(), folder);
        QVERIFY(*arrived[0][1].value<platform::ImageRef>() == *known);
    }

    void aFolderIsEnteredThatHasNoRowYet() {
        const QString home = qEnvironmentVariable("HOME");
        const QString fresh = home + u"/fresh"_s;
        ImageBrowserDataSource& images = mainInterface->images();
        mainInterface->places().revealFolder(home);
        QTRY_COMPARE(window().windowTitle(), platform::lastPathComponent(home));
        QVERIFY(QDir().mkdir(fresh));
        images.reloadWithPath(home);
        QTRY_VERIFY(images.indexOfPath(fresh));
        images.imageBrowserCellWasDoubleClickedAtIndex(window().grid(), *images.indexOfPath(fresh));
        QTRY_COMPARE(window().windowTitle(), u"fresh"_s);
        QCOMPARE(selectedPath(), fresh);
    }

    void mountSelectsAndExpandsBesideTheSelection() {
        mainInterface->places().revealFolder(qEnvironmentVariable("HOME"));
        QTRY_COMPARE(selectedPath(), qEnvironmentVariable("HOME"));
        logLines->taken();
        Q_EMIT platform::Workspace::sharedWorkspace().didMount(u"/"_s, u"Root"_s);
        const QStringList lines = takenWithoutLoads();
        QCOMPARE(
            lines.mid(0, 3),
            QStringList(
                {u"-[TavlinAppDelegate didMount:] (326): Heyho someone mounted something at /"_s,
                 u"-[TavlinAppDelegate didMount:] (328): Localized volume name: Root"_s,
                 u"-[TavlinAppDelegate notifyUsingGrowl:] (467): Start: message: The volume “Root” is there now."_s}));
        QVERIFY(lines.at(3).contains(u"(469): appGlobals: "_s));
        QCOMPARE(lines.mid(4, 2),
                 QStringList({u"-[TavlinAppDelegate notifyUsingGrowl:] (493): Growl is not available?"_s,
                              u"-[TavlinAppDelegate notifyUsingGrowl:] (496): Ente"_s}));
        QVERIFY(lines.at(6).contains(u"rescanFileSystems"_s));
        QTRY_COMPARE(outline().selectionModel()->selectedRows().size(), 2);
        QVERIFY(outline().isExpanded(outline().model()->index(0, 0)));
    }
};

int main(int argc, char** argv) {
    TestHome home;
    qputenv("LC_ALL", "en_US.UTF-8");
    platform::UserDefaults::standardUserDefaults().setDictionaryForKey({{PreferenceKeys::debugLogging, true}},
                                                                       u"PreferencesGlobals"_s);

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
