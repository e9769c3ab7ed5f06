// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/ImageBrowserDataSource.h"
#include "platform/TemporaryFolder.h"
#include "platform/views/Control.h"
#include "platform/views/ImageBrowserView.h"
#include "scripts/ScriptsDataSource.h"
#include "settings/PreferencesDictionary.h"
#include "testing/TestHome.h"

#include <QApplication>
#include <QTest>

#include <memory>
#include <stdexcept>

namespace {

class Slider : public platform::Control {
 public:
    float floatValue() const override { return 0.5F; }
};

void write(const QString& path, const QByteArray& text) {
    QFile file(path);
    QVERIFY(file.open(QFile::WriteOnly));
    file.write(text);
}

QByteArray read(const QString& path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray("<none>");
}

const QStringList stockScripts{QStringLiteral("Contact sheet.py"),
                               QStringLiteral("Copy paths to the clipboard.sh"),
                               QStringLiteral("Copy to a new dated folder.sh"),
                               QStringLiteral("Make a ZIP.py"),
                               QStringLiteral("Resize to 1600 pixels.sh"),
                               QStringLiteral("Rotate left.sh"),
                               QStringLiteral("Rotate right.sh"),
                               QStringLiteral("Strip location data.sh")};

}  // namespace

/// The library on its real folder, in its real table, over a real grid.
class ScriptsDataSourceTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void init();
    void installsAndListsInOrder();
    void stockScriptsAreRestoredAndOthersKept();
    void queriesBeforeWakingAnswerNothing();
    void secondListingAppends();
    void listOperations();
    void runsOnTheSelection_data();
    void runsOnTheSelection();
    void doubleClickBesideTheRowsHarmsNothing();
    void refusesEditsAndFreesTheLock();

 private:
    QStringList names();
    QString folder() const { return ScriptsDataSource::scriptsFolder(); }
    Slider _slider;
    std::unique_ptr<platform::TableView> _table;
    std::unique_ptr<platform::ImageBrowserView> _grid;
    std::unique_ptr<ImageBrowserDataSource> _images;
    std::unique_ptr<ScriptsDataSource> _scripts;
};

void ScriptsDataSourceTest::init() {
    QDir(folder()).removeRecursively();
    _scripts = std::make_unique<ScriptsDataSource>();
    _grid = std::make_unique<platform::ImageBrowserView>();
    _images = std::make_unique<ImageBrowserDataSource>();
    _images->setImageBrowserView(_grid.get());
    _images->setImageBrowserSizeSlider(&_slider);
    _images->awakeFromNib();
    _grid->setDataSource(_images.get());
    _table = std::make_unique<platform::TableView>();
    _table->setColumnIdentifier(QStringLiteral("scriptNames"));
    _table->setDataSource(_scripts.get());
    _table->resize(300, 400);
    _scripts->setScriptsTableView(_table.get());
    _scripts->setImageBrowserDataSource(_images.get());
}

QStringList ScriptsDataSourceTest::names() {
    QStringList shown;
    for (int row = 0; row < _table->numberOfRows(); ++row)
        shown += _table->model()->index(row, 0).data().toString();
    return shown;
}

void ScriptsDataSourceTest::installsAndListsInOrder() {
    _scripts->awakeFromNib();
    QCOMPARE(names(), stockScripts);
    QCOMPARE(_scripts->objectAtIndex(0)->objectForKey(u"ScriptURLKey").value(),
             folder() + QStringLiteral("/Contact sheet.py"));
    const QString tip = _table->model()->index(5, 0).data(Qt::ToolTipRole).toString();
    QVERIFY(
        tip.contains(u"Turns the selected JPEGs a quarter left without loss, into new files beside them."));
}

void ScriptsDataSourceTest::stockScriptsAreRestoredAndOthersKept() {
    _scripts->awakeFromNib();
    const QByteArray stock = read(folder() + QStringLiteral("/Rotate left.sh"));
    write(folder() + QStringLiteral("/Rotate left.sh"), "edited");
    write(folder() + QStringLiteral("/notes.txt"), "my own");
    write(folder() + QStringLiteral("/.hidden.sh"), "my own");
    QDir(folder()).mkdir(QStringLiteral("a folder"));
    // As the next start finds it.
    ScriptsDataSource next;
    next.awakeFromNib();
    QCOMPARE(read(folder() + QStringLiteral("/Rotate left.sh")), stock);
    QCOMPARE(read(folder() + QStringLiteral("/notes.txt")), QByteArray("my own"));
    QStringList expected =
        stockScripts + QStringList{QStringLiteral("notes.txt"), QStringLiteral("a folder")};
    QStringList listed;
    for (const ScriptEntryRef& entry : next.array())
        listed += entry->objectForKey(u"ScriptNameKey").value();
    expected.sort();
    listed.sort();
    QCOMPARE(listed, expected);
}

void ScriptsDataSourceTest::queriesBeforeWakingAnswerNothing() {
    QVERIFY(!_scripts->objectAtIndex(0));
    QVERIFY(!_scripts->objectAtRow(7));
    QVERIFY(_scripts
                ->tableViewObjectValueForTableColumnRow(
                    *_table, *_table->tableColumnWithIdentifier(QStringLiteral("scriptNames")), 0)
                .isNull());
    // Asking for the list wakes it.
    QCOMPARE(_scripts->count(), static_cast<std::size_t>(stockScripts.size()));
}

void ScriptsDataSourceTest::secondListingAppends() {
    _scripts->awakeFromNib();
    _scripts->reloadScripts();
    _scripts->reloadAllTableViews();
    QCOMPARE(names(), stockScripts + stockScripts);
}

void ScriptsDataSourceTest::listOperations() {
    const auto entry = std::make_shared<const ScriptEntry>(QStringLiteral("x"), QStringLiteral("/x"));
    _scripts->addObject(entry);
    _scripts->addObject(std::make_shared<const ScriptEntry>(QStringLiteral("x"), QStringLiteral("/x")));
    QCOMPARE(names().last(), QStringLiteral("x"));
    _scripts->removeObject(entry);
    QCOMPARE(names(), stockScripts);
    _scripts->removeItemAtRow(0);
    QCOMPARE((*_scripts->objectEnumerator())->objectForKey(u"ScriptNameKey").value(), stockScripts[1]);
    QCOMPARE((*_scripts->reverseObjectEnumerator())->objectForKey(u"ScriptNameKey").value(),
             stockScripts.last());
    QVERIFY_EXCEPTION_THROWN(_scripts->removeItemAtRow(99), std::out_of_range);
    _scripts->removeAllObjects();
    QCOMPARE(_scripts->count(), std::size_t{0});
}

void ScriptsDataSourceTest::runsOnTheSelection_data() {
    QTest::addColumn<QList<int>>("selected");
    QTest::addColumn<bool>("byDrop");
    QTest::newRow("three") << QList<int>{0, 2, 5} << false;
    QTest::newRow("none") << QList<int>{} << false;
    QTest::newRow("by a drop") << QList<int>{1, 2} << true;
}

void ScriptsDataSourceTest::runsOnTheSelection() {
    QFETCH(const QList<int>, selected);
    QFETCH(const bool, byDrop);
    QTemporaryDir pictures;
    for (int i = 0; i < 6; ++i)
        write(pictures.filePath(QStringLiteral("%1 'ü\".jpg").arg(i)), "x");
    _images->reloadWithPath(pictures.path());
    QTRY_COMPARE(_images->numberOfImages(), std::size_t{6});
    platform::IndexSet indexes;
    QString expected;
    for (const int index : selected) {
        indexes.insert(static_cast<std::size_t>(index));
        expected += pictures.filePath(QStringLiteral("%1 'ü\".jpg\n").arg(index));
    }
    _grid->setSelectionIndexes(indexes, false);

    QDir().mkpath(folder());
    write(folder() + QStringLiteral("/_keep.sh"), "cp -- \"$1\" kept; echo \"$1\" > where\n");
    _scripts->awakeFromNib();
    const int row = static_cast<int>(names().indexOf(QStringLiteral("_keep.sh")));
    if (byDrop) {
        QCOMPARE(_scripts->tableViewValidateDropProposedRowProposedDropOperation(
                     *_table, row, platform::DropOperation::above),
                 platform::DragOperation::none);
        QCOMPARE(_scripts->tableViewValidateDropProposedRowProposedDropOperation(*_table, row,
                                                                                 platform::DropOperation::on),
                 platform::DragOperation::generic);
        QVERIFY(_scripts->tableViewAcceptDropRowDropOperation(*_table, row, platform::DropOperation::on));
    } else {
        _table->selectRow(row);
        _scripts->doubleClickAction();
    }
    const QByteArray kept = read(folder() + QStringLiteral("/kept"));
    QString text(kept.size() / 2, u' ');
    memcpy(text.data(), kept.constData(), static_cast<std::size_t>(kept.size()));
    QCOMPARE(text, QChar(QChar::ByteOrderMark) + expected);
    QVERIFY(!QFile::exists(QString::fromUtf8(read(folder() + QStringLiteral("/where")).trimmed())));
}

void ScriptsDataSourceTest::doubleClickBesideTheRowsHarmsNothing() {
    _scripts->awakeFromNib();
    _table->show();
    // Also with a row selected: what is pressed beside the rows is no row.
    write(folder() + QStringLiteral("/0 mark.sh"), "touch marked\n");
    _scripts->removeAllObjects();
    _scripts->reloadScripts();
    _scripts->reloadAllTableViews();
    _table->selectRow(0);
    QTest::mouseDClick(_table->viewport(), Qt::LeftButton, Qt::NoModifier,
                       QPoint(20, _table->viewport()->height() - 5));
    QVERIFY(!QFile::exists(folder() + QStringLiteral("/marked")));
    QVERIFY_EXCEPTION_THROWN(_scripts->doubleClickAction(), std::out_of_range);
}

void ScriptsDataSourceTest::refusesEditsAndFreesTheLock() {
    _scripts->awakeFromNib();
    auto& column = *_table->tableColumnWithIdentifier(QStringLiteral("scriptNames"));
    QVERIFY_EXCEPTION_THROWN(
        _scripts->tableViewSetObjectValueForTableColumnRow(*_table, QStringLiteral("new"), column, 0),
        std::logic_error);
    QVERIFY_EXCEPTION_THROWN(_scripts->tableViewObjectValueForTableColumnRow(*_table, column, 99),
                             std::out_of_range);
    // The lock is free again: this would wait for ever otherwise.
    QCOMPARE(_scripts->tableViewObjectValueForTableColumnRow(*_table, column, 0), stockScripts[0]);
    QVERIFY(!_scripts->tableViewWriteRowsToPasteboard(*_table));
}

int main(int argc, char** argv) {
    const TestHome home;
    qputenv("PATH", qgetenv("PATH") + ":" TAVLIN_BUILD_DIR "/libexec/tavlin");
    QApplication application(argc, argv);
    appGlobals = PreferencesDictionary::dictionary();
    appGlobals->load();
    ScriptsDataSourceTest test;
    const int status = QTest::qExec(&test, argc, argv);
    platform::removeTemporaryFolder();
    return status;
}

#include "tst_scriptsDataSource.moc"
