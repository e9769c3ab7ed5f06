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
#include "testing/TestHome.h"
#include "ui/ImageAndTextCell.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QTest>

using platform::FolderReader;
using platform::OutlineView;

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

QString addressOf(const void* object) {
    return logging::describeAddress(object).text;
}

}  // namespace

/// Each test has a home of its own with: Pictures (2020 (Kyoto), 2021, .cache), docs, empty, a file.
class TestFileBrowserDataSource : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void listsVolumesHomeAndPictures();
    void makesNewTopLevelItemsForEachReload();
    void choosesIcons_data();
    void choosesIcons();
    void leavesOtherCellsAlone();
    void answersForTheInvisibleRoot();
    void logsOneSelection();
    void logsTheTopLevel();
    void findsVolumes_data();
    void findsVolumes();
    void findsChildrenByTitle();
    void showsASlowPlaceLater();
    void revealsFolders_data();
    void revealsFolders();
    void revealsBelowASlowPlace_data();
    void revealsBelowASlowPlace();

 private:
    QString home(const QString& name = {}) const {
        return platform::homeFolder() + (name.isEmpty() ? name : u'/' + name);
    }
    FileSystemItem* itemAtRow(int row) const {
        return static_cast<FileSystemItem*>(_outline->itemAtRow(row));
    }
    int homeRow() const { return static_cast<int>(platform::mountedVolumes().size()); }
    QStringList paths() const;
    void setLogging(bool isOn) { appGlobals->setObjectForKey(isOn, PreferenceKeys::debugLogging); }

    std::unique_ptr<FileBrowserDataSource> _source;
    std::unique_ptr<OutlineView> _outline;
    std::unique_ptr<QAbstractItemModelTester> _tester;
};

void TestFileBrowserDataSource::initTestCase() {
    QLocale::setDefault(QLocale(QLocale::English));
    for (const QString& name :
         {u"Pictures/2020 (Kyoto)/raw"_s, u"Pictures/2021"_s, u"Pictures/.cache/x"_s, u"docs"_s, u"empty"_s})
        QVERIFY(QDir().mkpath(home(name)));
    QFile file(home(u"Pictures/2021/file"_s));
    QVERIFY(file.open(QFile::WriteOnly));
}

void TestFileBrowserDataSource::init() {
    appGlobals = PreferencesDictionary::dictionary();
    FolderReader::shared().setRead(platform::readFolder, 10s);
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

void TestFileBrowserDataSource::cleanup() {
    _tester.reset();
    _outline.reset();
    _source.reset();
}

QStringList TestFileBrowserDataSource::paths() const {
    QStringList list;
    for (int row = 0; row < _outline->numberOfRows(); ++row)
        list.append(itemAtRow(row)->fullPath());
    return list;
}

void TestFileBrowserDataSource::listsVolumesHomeAndPictures() {
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

void TestFileBrowserDataSource::makesNewTopLevelItemsForEachReload() {
    FileSystemItem* pictures = itemAtRow(homeRow() + 1);
    _outline->expandItem(pictures);
    QVERIFY(QDir().mkdir(home(u"Pictures/1999"_s)));
    _outline->reloadItem(pictures, true);
    QVERIFY(!paths().contains(home(u"Pictures/1999"_s)));
    _outline->reloadData();
    QTRY_VERIFY(paths().contains(home(u"Pictures/1999"_s)));
    QVERIFY(QDir().rmdir(home(u"Pictures/1999"_s)));
}

void TestFileBrowserDataSource::choosesIcons_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("icon");
    QTest::newRow("the root with subfolders") << u"/"_s << u"computer"_s;
    QTest::newRow("home") << home() << u"user-home"_s;
    QTest::newRow("pictures") << home(u"Pictures"_s) << u"folder-pictures"_s;
    QTest::newRow("a folder with subfolders") << home(u"Pictures/2020 (Kyoto)"_s) << u"folder"_s;
    QTest::newRow("an empty folder") << home(u"empty"_s) << u"folder"_s;
    QTest::newRow("what is no folder") << home(u"Pictures/2021/file"_s) << u"application-octet-stream"_s;
}

void TestFileBrowserDataSource::choosesIcons() {
    QFETCH(QString, path);
    ImageAndTextCell cell;
    platform::TableColumn column(u"folders"_s);
    const auto item = FileSystemItem::rootItemWithPath(path);
    _source->outlineViewWillDisplayCellForTableColumnItem(*_outline, cell, column, item.get());
    QVERIFY(cell.image() != nullptr);
    QTEST(cell.image()->name(), "icon");
    QCOMPARE(cell.image(), item->nodeIcon());

    _source->outlineViewWillDisplayCellForTableColumnItem(*_outline, cell, column, nullptr);
    QVERIFY(cell.image() == nullptr);
}

void TestFileBrowserDataSource::leavesOtherCellsAlone() {
    ImageAndTextCell cell;
    platform::TextFieldCell plainCell;
    platform::TableColumn folders(u"folders"_s);
    platform::TableColumn other(u"sizes"_s);
    const auto item = FileSystemItem::rootItemWithPath(home());
    setLogging(true);
    LogLines log;
    _source->outlineViewWillDisplayCellForTableColumnItem(*_outline, plainCell, folders, item.get());
    _source->outlineViewWillDisplayCellForTableColumnItem(*_outline, cell, other, item.get());
    QVERIFY(cell.image() == nullptr && item->nodeIcon() == nullptr);
    const QString method = u"-[FileBrowserDataSource outlineView:willDisplayCell:forTableColumn:item:] "_s;
    const QString common = u": Updating outline: "_s + addressOf(_outline.get()) + u", cell: "_s;
    const QString itemText = u", item: "_s + addressOf(item.get());
    const QString plainText = common + addressOf(&plainCell) + u", column: "_s + addressOf(&folders);
    const QString otherText = common + addressOf(&cell) + u", column: "_s + addressOf(&other);
    QCOMPARE(log.taken(),
             (QStringList{method + u"(255)"_s + plainText + itemText,
                          method + u"(256)"_s + plainText + u" (folders)"_s + itemText,
                          method + u"(255)"_s + otherText + itemText,
                          method + u"(256)"_s + otherText + u" (sizes)"_s + itemText,
                          method + u"(357): I don't know the column with identifier: \"sizes\""_s}));
}

void TestFileBrowserDataSource::answersForTheInvisibleRoot() {
    platform::TableColumn column(u"folders"_s);
    QCOMPARE(_source->outlineViewObjectValueForTableColumnByItem(*_outline, column, nullptr), u"/"_s);
    QVERIFY(_source->outlineViewIsItemExpandable(*_outline, nullptr));
    QVERIFY(!_source->outlineViewShouldEditTableColumnItem(*_outline, column, itemAtRow(0)));
    QVERIFY_EXCEPTION_THROWN(_source->outlineViewChildOfItem(*_outline, 1000, nullptr), std::out_of_range);
    const auto gone = FileSystemItem::rootItemWithPath(home(u"gone"_s));
    QVERIFY(!_source->outlineViewIsItemExpandable(*_outline, gone.get()));
    QCOMPARE(_source->outlineViewNumberOfChildrenOfItem(*_outline, gone.get()), -1);
    const auto empty = FileSystemItem::rootItemWithPath(home(u"empty"_s));
    QVERIFY(_source->outlineViewIsItemExpandable(*_outline, empty.get()));
}

void TestFileBrowserDataSource::logsOneSelection() {
    const QString method = u"-[FileBrowserDataSource outlineViewSelectionDidChange:] "_s;
    const QString since = method +
                          u"(219): Since the user changed selection in the folders outline, we should "
                          "reload the Image Browser..."_s;
    setLogging(true);
    LogLines log;
    _outline->selectRow(homeRow(), false);
    QCOMPARE(log.taken(), (QStringList{since, method + u"(236): Bummer!"_s}));

    platform::ImageBrowserView view;
    ImageBrowserDataSource images;
    images.setImageBrowserView(&view);
    _source->setImageBrowserDataSource(&images);
    const int rows = _outline->numberOfRows();
    const auto expected = [&](int row, const QString& item, const QString& path) {
        return QStringList{since,
                           method + u"(223): _imageBrowserDataSource: "_s + addressOf(&images),
                           method + u"(224): _fileBrowserOutlineView: "_s + addressOf(_outline.get()),
                           method + u"(225): numberOfRows: %1"_s.arg(rows),
                           method + u"(228): selRow: %1"_s.arg(row),
                           method + u"(230): fileSystemItem: "_s + item,
                           method + u"(231): [fileSystemItem fullPath]: "_s + path,
                           u"-[ImageBrowserDataSource reloadWithPath:] (95): Reloading for path: "_s + path};
    };
    _outline->selectRow(homeRow() + 1, false);
    QCOMPARE(log.taken().mid(0, 8),
             expected(homeRow() + 1, addressOf(itemAtRow(homeRow() + 1)), home(u"Pictures"_s)));
    QCOMPARE(_source->selectedItem(), itemAtRow(homeRow() + 1));
    QStringList lines;
    QTRY_VERIFY(
        (lines += log.taken()).contains(u"-[ImageBrowserDataSource addImagesWithPaths:] (163): End"_s));

    _outline->deselectRow(homeRow() + 1);
    QCOMPARE(log.taken(), expected(-1, u"0x0"_s, u"(null)"_s));
    QVERIFY(_source->selectedItem() == nullptr);
    _source->reloadContentsOfSelectedItem();
    QCOMPARE(log.taken(),
             (QStringList{u"-[FileBrowserDataSource selectedItem] (406): selRow: -1"_s,
                          u"-[FileBrowserDataSource reloadContentsOfSelectedItem] (244): NOT IMPLEMENTED! "
                          "HOW TO REACT ANYWAYS?"_s}));
}

void TestFileBrowserDataSource::logsTheTopLevel() {
    setLogging(true);
    LogLines log;
    const int count = _source->outlineViewNumberOfChildrenOfItem(*_outline, nullptr);
    QStringList volumes;
    for (const auto& volume : platform::mountedVolumes())
        volumes.append(QString::fromLatin1(platform::fileUriFromPath(volume.path)));
    const QString method = u"-[FileBrowserDataSource rescanFileSystems] "_s;
    const QString counting = u"-[FileBrowserDataSource outlineView:numberOfChildrenOfItem:] "_s;
    const QString pictures = home(u"Pictures"_s);
    QCOMPARE(log.taken().filter(u"FileBrowserDataSource"_s),
             (QStringList{counting + u"(139): Call for item nil (root)!"_s, method + u"(95): Start"_s,
                          method + u"(102): _mountedVolumes: ("_s + volumes.join(u", "_s) + u")"_s,
                          method + u"(116): currentUserHomeDirectory: "_s + home(),
                          method + u"(118): currentUserHomeDirectoryURL: file://"_s + home(),
                          method + u"(123): currentUserPicturesDirectory: "_s + pictures,
                          method + u"(125): currentUserPicturesDirectoryURL: file://"_s + pictures,
                          method + u"(128): End"_s, counting + u"(149): Returning %1"_s.arg(count)}));

    const auto item = _source->outlineViewChildOfItem(*_outline, count - 1, nullptr);
    const auto child = _source->outlineViewChildOfItem(*_outline, 1, item.get());
    const QString handing = u"-[FileBrowserDataSource outlineView:child:ofItem:] "_s;
    QCOMPARE(log.taken().filter(u"-[FileBrowserDataSource"_s),
             (QStringList{
                 handing + u"(161): returning folders/volumes for root (nil) at index %1..."_s.arg(count - 1),
                 handing + u"(171): Returning path: "_s + pictures,
                 handing + u"(181): Returning: <FileSystemItem: %1>"_s.arg(addressOf(item.get())),
                 handing + u"(178): returning child at index: 1"_s,
                 handing + u"(181): Returning: <FileSystemItem: %1>"_s.arg(addressOf(child.get()))}));
}

void TestFileBrowserDataSource::findsVolumes_data() {
    QTest::addColumn<QByteArray>("url");
    QTest::addColumn<int>("index");
    QTest::newRow("the root") << QByteArray("file:///") << 0;
    QTest::newRow("home, behind the volumes") << platform::fileUriFromPath(home()) << homeRow();
    QTest::newRow("with a slash at its end")
        << platform::fileUriFromPath(home(u"Pictures"_s)) + '/' << homeRow() + 1;
    QTest::newRow("none of them") << platform::fileUriFromPath(home(u"docs"_s)) << -1;
}

void TestFileBrowserDataSource::findsVolumes() {
    QFETCH(QByteArray, url);
    setLogging(true);
    LogLines log;
    QTEST(_source->indexOfVolumeWithURL(url), "index");
    QFETCH(int, index);
    const qsizetype looked = index < 0 ? _outline->numberOfRows() : index + 1;
    QCOMPARE(log.taken().filter(u"(372): Some URL: file:///"_s).size(), looked);
}

void TestFileBrowserDataSource::findsChildrenByTitle() {
    FileSystemItem* pictures = itemAtRow(homeRow() + 1);
    QCOMPARE(_source->indexOfItemWithTitleContainedByItem(u"2021"_s, pictures), -1);
    _outline->expandItem(pictures);
    QCOMPARE(_source->indexOfItemWithTitleContainedByItem(u"2021"_s, pictures), homeRow() + 3);
    QCOMPARE(_source->indexOfItemWithTitleContainedByItem(u"2022"_s, pictures), -1);
    // The items of the top level are new ones for each request, which the outline does not show.
    QCOMPARE(_source->indexOfItemWithTitleContainedByItem(u"Pictures"_s, nullptr), -1);
}

void TestFileBrowserDataSource::showsASlowPlaceLater() {
    SlowPlace slow(home(u"Pictures"_s));
    FolderReader::shared().setRead(slow.read());
    _outline->reloadData();
    QCoreApplication::processEvents();
    _outline->selectRow(homeRow() + 1, false);
    FileSystemItem* pictures = itemAtRow(homeRow() + 1);
    _outline->expandItem(pictures);
    QVERIFY(pictures->isAwaitingChildren());
    QCOMPARE(_outline->numberOfRows(), homeRow() + 2);

    LogLines log;
    slow.answer();
    QTRY_COMPARE(_outline->numberOfRows(), homeRow() + 4);
    QCOMPARE(itemAtRow(homeRow() + 1), pictures);
    QCOMPARE(_outline->selectedRow(), homeRow() + 1);
    QCOMPARE(log.taken().filter(u"SelectionDidChange"_s), QStringList());
}

void TestFileBrowserDataSource::revealsFolders_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("selected");
    QTest::newRow("a place itself") << home() << home();
    QTest::newRow("pictures before home")
        << home(u"Pictures/2020 (Kyoto)/raw"_s) << home(u"Pictures/2020 (Kyoto)/raw"_s);
    QTest::newRow("below home, with a slash at its end") << home(u"docs/"_s) << home(u"docs"_s);
    QTest::newRow("on a volume") << u"/usr/share"_s << u"/usr/share"_s;
    QTest::newRow("a neighbour whose name begins so") << home() + u"less/x"_s << QFileInfo(home()).path();
    QTest::newRow("hidden") << home(u"Pictures/.cache/x"_s) << home(u"Pictures"_s);
    QTest::newRow("a file") << home(u"Pictures/2021/file"_s) << home(u"Pictures/2021"_s);
    QTest::newRow("gone") << home(u"docs/gone/too"_s) << home(u"docs"_s);
    QTest::newRow("no absolute path") << u"docs"_s << QString();
}

void TestFileBrowserDataSource::revealsFolders() {
    QFETCH(QString, path);
    QFETCH(QString, selected);
    QCOMPARE(_source->revealFolder(path), !selected.isEmpty());
    const FileSystemItem* item = _source->selectedItem();
    QCOMPARE(item == nullptr ? QString() : item->fullPath(), selected);

    _outline->reloadData();
    QVERIFY(_source->revealFolder(path) == !selected.isEmpty());
    QCoreApplication::processEvents();
    item = _source->selectedItem();
    QCOMPARE(item == nullptr ? QString() : item->fullPath(), selected);
}

void TestFileBrowserDataSource::revealsBelowASlowPlace_data() {
    QTest::addColumn<bool>("isOverruled");
    QTest::newRow("in the end") << false;
    QTest::newRow("not when the user has selected something") << true;
}

void TestFileBrowserDataSource::revealsBelowASlowPlace() {
    QFETCH(bool, isOverruled);
    SlowPlace slow(home(u"Pictures"_s));
    FolderReader::shared().setRead(slow.read());
    _outline->reloadData();
    QVERIFY(_source->revealFolder(home(u"Pictures/2020 (Kyoto)/raw"_s)));
    QVERIFY(_source->selectedItem() == nullptr);
    _outline->reloadData();  // by a volume that is mounted meanwhile
    QCoreApplication::processEvents();
    if (isOverruled)
        _outline->selectRow(0, false);
    slow.answer();
    const QString last =
        isOverruled ? home(u"Pictures/2020 (Kyoto)"_s) : home(u"Pictures/2020 (Kyoto)/raw"_s);
    QTRY_VERIFY(paths().contains(last));
    QTRY_COMPARE(_source->selectedItem() == nullptr ? QString() : _source->selectedItem()->fullPath(),
                 isOverruled ? u"/"_s : last);
}

TAVLIN_TEST_MAIN(QApplication, TestFileBrowserDataSource)
#include "tst_file_browser_data_source.moc"
