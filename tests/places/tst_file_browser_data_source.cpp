// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/ImageBrowserDataSource.h"
#include "places/FileBrowserDataSource.h"
#include "platform/desktop/StandardFolders.h"
#include "platform/desktop/Volumes.h"
#include "platform/PathBytes.h"
#include "platform/views/ImageBrowserView.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/Logging.h"
#include "testing/LogLines.h"
#include "testing/SlowPlace.h"
#include "testing/TestMain.h"

#include <QAbstractItemModelTester>
#include <QApplication>

using platform::FolderReader;
using platform::OutlineView;

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// Each test has a home of its own with: Pictures (2020 (Kyoto), 2021, .cache), docs, empty, a file.
class TestFileBrowserDataSource : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() {
        QLocale::setDefault(QLocale(QLocale::English));
        for (const QString& name : {u"Pictures/2020 (Kyoto)/raw"_s, u"Pictures/2021"_s,
                                    u"Pictures/.cache/x"_s, u"docs"_s, u"empty"_s})
            QVERIFY(QDir().mkpath(home(name)));
        QFile file(home(u"Pictures/2021/file"_s));
        QVERIFY(file.open(QFile::WriteOnly));
    }

    void init() {
        _store.reset(PreferencesDictionary::dictionary());
        appGlobals = _store.get();
        FolderReader::shared().setRead(platform::readFolder, 10s);
        _tester.reset();
        _outline.reset();
        _source = std::make_unique<FileBrowserDataSource>();
        _outline = std::make_unique<OutlineView>();
        _outline->setColumnIdentifier(u"folders"_s);
        _outline->setDataSource(_source.get());
        _outline->setDelegate(_source.get());
        _source->setFileBrowserOutlineView(_outline.get());
        _tester = std::make_unique<QAbstractItemModelTester>(
            _outline->model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        _tester->setUseFetchMore(false);  // or it walks the whole file system
        _outline->reloadData();
        QCoreApplication::processEvents();
    }

    void listsVolumesHomeAndPictures() {
        QStringList expected;
        for (const auto& volume : platform::mountedVolumes())
            expected.append(volume.path);
        QCOMPARE(expected.first(), u"/"_s);
        QCOMPARE(paths(), expected + (QStringList{home(), home(u"Pictures"_s)}));
        QCOMPARE(itemAtRow(homeRow())->name(), platform::lastPathComponent(home()));
        QCOMPARE(itemAtRow(homeRow() + 1)->name(), u"Pictures"_s);

        _outline->expandItem(itemAtRow(homeRow() + 1));
        QCOMPARE(paths().mid(homeRow() + 2),
                 (QStringList{home(u"Pictures/2020 (Kyoto)"_s), home(u"Pictures/2021"_s)}));
    }

    void logsOneSelection() {
        LogLines log;
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
        const QString method = u"-[FileBrowserDataSource outlineViewSelectionDidChange:] "_s;
        const QString since = method +
                              u"(219): Since the user changed selection in the folders outline, we should "
                              "reload the Image Browser..."_s;
        _outline->selectRow(homeRow(), false);
        QCOMPARE(log.taken(), (QStringList{since, method + u"(236): Bummer!"_s}));
        platform::ImageBrowserView view;
        ImageBrowserDataSource images;
        images.setImageBrowserView(&view);
        _source->setImageBrowserDataSource(&images);
        FileSystemItem* item = itemAtRow(homeRow() + 1);
        _outline->selectRow(homeRow() + 1, false);
        QStringList lines = log.taken();
        QCOMPARE(lines.mid(0, 8),
                 (QStringList{
                     since,
                     method + u"(223): _imageBrowserDataSource: "_s + logging::describeAddress(&images).text,
                     method + u"(224): _fileBrowserOutlineView: "_s +
                         logging::describeAddress(_outline.get()).text,
                     method + u"(225): numberOfRows: %1"_s.arg(_outline->numberOfRows()),
                     method + u"(228): selRow: %1"_s.arg(homeRow() + 1),
                     method + u"(230): fileSystemItem: "_s + logging::describeAddress(item).text,
                     method + u"(231): [fileSystemItem fullPath]: "_s + item->fullPath(),
                     u"-[ImageBrowserDataSource reloadWithPath:] (95): Reloading for path: "_s +
                         item->fullPath()}));
        QTRY_VERIFY(
            (lines += log.taken()).contains(u"-[ImageBrowserDataSource addImagesWithPaths:] (163): End"_s));
        _outline->deselectRow(homeRow() + 1);
        QCOMPARE(log.taken().last(),
                 u"-[ImageBrowserDataSource reloadWithPath:] (95): Reloading for path: (null)"_s);
    }

    void showsASlowPlaceLater() {
        SlowPlace slow(home(u"Pictures"_s));
        FolderReader::shared().setRead(slow.read());
        _outline->reloadData();
        QCoreApplication::processEvents();
        FileSystemItem* pictures = itemAtRow(homeRow() + 1);
        QVERIFY(_source->revealFolder(home(u"Pictures/2021"_s)));
        _outline->selectRow(homeRow() + 1, false);  // overrules that
        QVERIFY(pictures->isAwaitingChildren());
        QCOMPARE(_outline->numberOfRows(), homeRow() + 2);

        slow.answer();
        QTRY_COMPARE(_outline->numberOfRows(), homeRow() + 4);
        QCOMPARE(itemAtRow(homeRow() + 1), pictures);
        QCOMPARE(_outline->selectedRow(), homeRow() + 1);
    }

    void revealsFolders_data() {
        const Table<QString, QString> row("path", "selected");
        const QString deep = home(u"Pictures/2020 (Kyoto)/raw"_s);
        row("pictures before home", deep, deep);
        row("home before a volume", home(u"docs/"_s), home(u"docs"_s));
        row("a neighbour whose name begins so", home() + u"less/x"_s, QFileInfo(home()).path());
        row("hidden", home(u"Pictures/.cache/x"_s), home(u"Pictures"_s));
        row("a file", home(u"Pictures/2021/file"_s), home(u"Pictures/2021"_s));
        row("no absolute path", u"docs"_s, QString());
        row("made since its folder was listed", home(u"Pictures/new/x"_s), home(u"Pictures/new/x"_s));
    }
    void revealsFolders() {
        QFETCH(QString, path);
        QFETCH(QString, selected);
        _source->revealFolder(home(u"Pictures/2021"_s));
        _outline->deselectRow(_outline->selectedRow());
        const QString fresh = home(u"Pictures/new"_s);
        const auto remove = qScopeGuard([&] { QDir(fresh).removeRecursively(); });
        QVERIFY(!path.startsWith(fresh) || QDir().mkpath(path));
        for (int i = 0; i < 2; ++i) {
            QCOMPARE(_source->revealFolder(path), !selected.isEmpty());
            QCoreApplication::processEvents();
            const FileSystemItem* item = _source->selectedItem();
            QCOMPARE(item == nullptr ? QString() : item->fullPath(), selected);
            _outline->reloadData();  // whose second half comes in the next turn
        }
    }

    void listsTheSelectedPlaceAgain() {
        _source->revealFolder(home(u"empty"_s));
        QVERIFY(_source->selectedItem()->isLeaf());
        QVERIFY(QDir().mkpath(home(u"empty/new"_s)));
        const auto remove = qScopeGuard([&] { QDir(home(u"empty/new"_s)).removeRecursively(); });
        _source->listSelectedAgain();
        QCOMPARE(_source->selectedItem()->fullPath(), home(u"empty"_s));
        _outline->expandItem(_source->selectedItem());
        QCOMPARE(itemAtRow(_outline->selectedRow() + 1)->fullPath(), home(u"empty/new"_s));
    }

 private:
    QString home(const QString& name = {}) const {
        return platform::homeFolder() + (name.isEmpty() ? name : u'/' + name);
    }
    FileSystemItem* itemAtRow(int row) const {
        return static_cast<FileSystemItem*>(_outline->itemAtRow(row));
    }
    int homeRow() const { return static_cast<int>(platform::mountedVolumes().size()); }
    QStringList paths() const {
        QStringList list;
        for (int row = 0; row < _outline->numberOfRows(); ++row)
            list.append(itemAtRow(row)->fullPath());
        return list;
    }

    std::unique_ptr<PreferencesDictionary> _store;
    std::unique_ptr<FileBrowserDataSource> _source;
    std::unique_ptr<OutlineView> _outline;
    std::unique_ptr<QAbstractItemModelTester> _tester;
};

TAVLIN_TEST_MAIN(QApplication, TestFileBrowserDataSource)
#include "tst_file_browser_data_source.moc"
