// SPDX-License-Identifier: GPL-3.0-or-later
// Removal never loses a file, and the grid shows what is on the disk, whatever goes wrong.
#include "platform/FileAccess.h"
#include "platform/PathBytes.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/BrowserPanes.h"
#include "testing/LogLines.h"
#include "testing/MountSandbox.h"
#include "testing/TestFiles.h"
#include "testing/TestMain.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QApplication>
#include <QProcess>
#include <QSignalSpy>

#include <functional>
#include <map>

using namespace Qt::StringLiterals;

namespace {

Names namesIn(const QByteArray& folder) {
    Names names;
    const auto descriptor = platform::openFolder(platform::pathFromBytes(folder));
    if (descriptor.isValid())
        platform::visitFolder(descriptor.get(), [&](std::string_view name, platform::EntryKind) {
            if (!name.starts_with('.') && name != "lost+found")
                names += QByteArray(name.data(), qsizetype(name.size()));
            return true;
        });
    std::sort(names.begin(), names.end());
    return names;
}

QByteArray read(const QByteArray& path) {
    const auto file = platform::openRegularFile(platform::pathFromBytes(path));
    QByteArray bytes(1 << 16, '\0');
    bytes.truncate(qMax<qsizetype>(::read(file.get(), bytes.data(), std::size_t(bytes.size())), 0));
    return bytes;
}

/// What is below a folder: each path with a file's bytes, a link's target, or nothing for a folder.
std::map<QByteArray, QByteArray> snapshot(const QByteArray& folder, const QByteArray& below = {}) {
    std::map<QByteArray, QByteArray> result;
    for (const QByteArray& name : namesIn(folder + '/' + below)) {
        const QByteArray path = below + name;
        const auto status =
            platform::fileStatus(platform::pathFromBytes(folder + '/' + path), platform::FollowLinks::no);
        QByteArray target(4096, '\0');
        if (status->kind == platform::EntryKind::link)
            target.truncate(::readlink((folder + '/' + path).constData(), target.data(), 4096));
        result[path] = status->kind == platform::EntryKind::link ? target : read(folder + '/' + path);
        if (status->kind == platform::EntryKind::folder)
            result.merge(snapshot(folder, path + '/'));
    }
    return result;
}

enum class Place { none, firstRow, home };

}  // namespace

class ImageRemovalTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() { appGlobals = PreferencesDictionary::dictionary(); }
    void init() {
        _folder = qgetenv("HOME") + "/p" + QByteArray::number(++_number);
        ::mkdir(_folder.constData(), 0755);
        appGlobals->setObjectForKey(false, PreferenceKeys::imageBrowserRecursive);
        appGlobals->setObjectForKey(0, PreferenceKeys::imagesBrowserSort);
    }
    void cleanup() { MountSandbox::unmount(QFile::decodeName(_folder)); }

    void removesAndRestores_data() {
        const Table<std::function<void(QByteArray)>, Place> columns("make", "place");
        using Make = std::function<void(QByteArray)>;
        const auto file = [](const QByteArray& name) {
            return Make([name](const QByteArray& folder) { writeFile(folder + "/x" + name, "content"); });
        };
        const std::map<const char*, Make> makes{
            {"a newline in its name", file("a\nPath=forged")},
            {"a name that is not UTF-8", file("\xff\xe9.jpg")},
            {"300 files",
             [](const QByteArray& folder) {
                 for (int i = 0; i < 300; ++i)
                     writeFile(folder + "/x" + QByteArray::number(i), QByteArray::number(i));
             }},
            {"a folder",
             [](const QByteArray& folder) {
                 ::mkdir((folder + "/x").constData(), 0755);
                 writeFile(folder + "/x/inside", "deep");
             }},
            {"a link to a file that stays, and one to nothing",
             [](const QByteArray& folder) {
                 QCOMPARE(::symlink("stays", (folder + "/x").constData()), 0);
                 QCOMPARE(::symlink("/nowhere", (folder + "/x2").constData()), 0);
             }},
            {"another volume", [](const QByteArray& folder) {
                 if (!MountSandbox::problem().isEmpty())
                     QSKIP(qPrintable(MountSandbox::problem()));
                 QVERIFY(MountSandbox::mountTmpfs(QFile::decodeName(folder)));
                 writeFile(folder + "/stays", "stays");
                 writeFile(folder + "/x", "content");
             }}};
        for (const auto& [name, make] : makes)
            for (const auto& [where, place] :
                 {std::pair("no row", Place::none), {"first row", Place::firstRow}, {"home", Place::home}})
                QTest::addRow("%s, %s", name, where) << make << place;
    }
    void removesAndRestores() {
        QFETCH(const std::function<void(QByteArray)>, make);
        QFETCH(const Place, place);
        fill({"stays"});
        make(_folder);
        const auto before = snapshot(_folder);
        Window window;
        if (place != Place::none) {
            window.outline.selectRow(place == Place::home ? window.homeRow() : 0, false);
            QTRY_VERIFY(!window.images->isLoading());
        }
        window.load(platform::pathFromBytes(_folder));
        QCOMPARE(window.shown(), namesIn(_folder));
        window.select([](const QByteArray& name) { return name.startsWith('x'); });

        window.view.removeSelectedItems();
        QCOMPARE(namesIn(_folder), Names{"stays"});
        QCOMPARE(window.shown(), Names{"stays"});
        QTRY_VERIFY(!window.images->isLoading());

        window.load(platform::pathFromBytes(_folder));
        window.images->undoRemoval();
        QCOMPARE(snapshot(_folder), before);
        QCOMPARE(window.shown(), namesIn(_folder));
        QVERIFY(!window.images->canUndoRemoval());
        QTRY_VERIFY(!window.images->isLoading());
    }
    void faultsLeaveTheFile_data() {
        const Table<std::function<void(QByteArray)>, Names> row("fault", "left");
        using Fault = std::function<void(QByteArray)>;
        row("read-only volume", Fault([](const QByteArray& folder) {
                QVERIFY(MountSandbox::remountReadOnly(QFile::decodeName(folder)));
            }),
            Names{"a", "b", "x1", "x2"});
        row("another user's folder", Fault([](const QByteArray&) { QCOMPARE(::seteuid(65534), 0); }),
            Names{"a", "b", "x1", "x2"});
        row("one already gone",
            Fault([](const QByteArray& folder) { QCOMPARE(::unlink((folder + "/x1").constData()), 0); }),
            Names{"a", "b"});
        row("one that the system keeps", Fault([](const QByteArray& folder) {
                QCOMPARE(QProcess::execute(u"chattr"_s, {u"+i"_s, QFile::decodeName(folder + "/x1")}), 0);
            }),
            Names{"a", "b", "x1"});
    }
    void faultsLeaveTheFile() {
        if (!MountSandbox::problem().isEmpty())
            QSKIP(qPrintable(MountSandbox::problem()));
        QFETCH(const std::function<void(QByteArray)>, fault);
        QFETCH(const Names, left);
        QVERIFY(MountSandbox::mountExt4(QFile::decodeName(_folder), 8));
        fill({"a", "b", "x1", "x2"});
        Window window;
        window.load(platform::pathFromBytes(_folder));
        window.images->reloadWithPath(std::nullopt);
        window.select([](const QByteArray& name) { return name.startsWith('x'); });
        fault(_folder);
        LogLines log;
        window.view.removeSelectedItems();
        QCOMPARE(::seteuid(0), 0);

        QCOMPARE(log.taken().filter(u"was not moved to the trash"_s).size(), left.contains("x2") ? 2 : 1);
        QCOMPARE(namesIn(_folder), left);
        for (const QByteArray& name : left)
            QCOMPARE(read(at(name)), "bytes of " + name);
        Names shown = window.shown();
        shown.removeAll("lost+found");
        QCOMPARE(shown, left);
        while (window.images->canUndoRemoval())
            window.images->undoRemoval();
    }
    void undoNeverOverwritesAndMayBeTriedAgain() {
        fill({"a", "b", "c"});
        Window window;
        window.load(platform::pathFromBytes(_folder));
        for (const Names& names : {Names{"c"}, Names{"a", "b"}}) {
            window.select([&](const QByteArray& name) { return names.contains(name); });
            window.view.removeSelectedItems();
        }
        writeFile(at("a"), "newer");
        LogLines log;
        std::vector<std::vector<platform::NotRestored>> failed;
        connect(window.images.get(), &ImageBrowserDataSource::restoringFailed, this,
                [&](const auto& files) { failed.push_back(files); });
        // The second time it does not hold up what went before.
        for (const Names& shown : {Names{"b"}, Names{"b", "c"}}) {
            window.images->undoRemoval();
            QCOMPARE(log.taken().filter(u"stays in the trash"_s).size(), 1);
            QCOMPARE(read(at("a")), QByteArray("newer"));
            QCOMPARE(window.shown(), shown);
            QCOMPARE(failed.back().size(), 1U);
            QCOMPARE(failed.back()[0].path, platform::pathFromBytes(at("a")));
        }
        QCOMPARE(::unlink(at("a").constData()), 0);
        window.images->undoRemoval();
        QCOMPARE(window.shown(), (Names{"a", "b", "c"}));
        for (const QByteArray& name : window.shown())
            QCOMPARE(read(at(name)), "bytes of " + name);
        QCOMPARE(failed.size(), 2U);
        QVERIFY(!window.images->canUndoRemoval());
    }
    void loadUnderWayKnowsWhatWent() {
        fill({"a", "b", "c"});
        Window window;
        window.load(platform::pathFromBytes(_folder));
        // The load has listed the folder, and waits for its merge.
        window.images->reloadWithPath(platform::pathFromBytes(_folder));
        while (window.images->numberFound() < 3)
            QThread::yieldCurrentThread();
        window.view.setSelectionIndexes({0}, false);
        window.view.removeSelectedItems();
        const QSignalSpy merges(window.images.get(), &ImageBrowserDataSource::itemsChanged);
        QTRY_COMPARE(merges.size(), 1);
        QCOMPARE(window.shown(), (Names{"b", "c"}));

        window.images->reloadWithPath(platform::pathFromBytes(_folder));
        while (window.images->numberFound() < 2)
            QThread::yieldCurrentThread();
        window.images->undoRemoval();
        QTRY_COMPARE(merges.size(), 3);
        QCOMPARE(window.shown(), (Names{"a", "b", "c"}));
    }

 private:
    QByteArray at(const QByteArray& name) const { return _folder + '/' + name; }
    void fill(const Names& names) {
        for (const QByteArray& name : names)
            writeFile(at(name), "bytes of " + name);
    }
    QByteArray _folder;
    int _number = 0;
};

TAVLIN_TEST_MAIN(QApplication, ImageRemovalTest, MountSandbox::enter())
#include "tst_image_removal.moc"
