// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/FakeTree.h"
#include "testing/TestHome.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QHeaderView>
#include <QRandomGenerator>
#include <QTest>

using platform::OutlineItem;
using platform::OutlineView;

namespace {

/// The rows as a person reads them, each indented by its level.
QStringList shownRows(const OutlineView& outline) {
    QStringList rows;
    for (QModelIndex i = outline.model()->index(0, 0); i.isValid(); i = outline.indexBelow(i)) {
        int level = 0;
        for (QModelIndex parent = i.parent(); parent.isValid(); parent = parent.parent())
            ++level;
        rows.append(QString(level, u' ') + i.data().toString());
    }
    return rows;
}

QStringList words(const char* text) {
    return QString::fromLatin1(text).split(u' ', Qt::SkipEmptyParts);
}

void returnToEventLoop() {
    QCoreApplication::sendPostedEvents();
}

}  // namespace

class TestOutline : public QObject {
    Q_OBJECT

    struct Fixture {
        Fixture() {
            tree.below = {{QString(), words("/a /b /c")},
                          {QStringLiteral("/a"), words("/a/k /a/l")},
                          {QStringLiteral("/a/k"), words("/a/k/x /a/k/y")},
                          {QStringLiteral("/c"), words("/c/m")}};
            tree.leaves = {QStringLiteral("/a/k/y")};
            outline.setColumnIdentifier(QStringLiteral("folders"));
            outline.setDataSource(&tree);
            outline.setDelegate(&tree);
            outline.resize(240, 300);
            auto* tester = new QAbstractItemModelTester(
                outline.model(), QAbstractItemModelTester::FailureReportingMode::Fatal, &outline);
            tester->setUseFetchMore(false);
        }
        void reload() {
            outline.reloadData();
            returnToEventLoop();
        }
        OutlineItem* item(const char* path) const {
            for (int row = 0; row < outline.numberOfRows(); ++row)
                if (FakeTree::pathOf(outline.itemAtRow(row)) == QLatin1String(path))
                    return outline.itemAtRow(row);
            return nullptr;
        }
        int row(const char* path) const { return outline.rowForItem(item(path)); }
        void expand(std::initializer_list<const char*> paths) {
            for (const char* path : paths)
                outline.expandItem(item(path));
        }
        QStringList selected() const {
            QStringList paths;
            for (int row = 0; row < outline.numberOfRows(); ++row)
                if (const auto index = outline.selectionModel()->selectedRows(); std::any_of(
                        index.begin(), index.end(), [&](const QModelIndex& i) { return shownRow(i) == row; }))
                    paths.append(FakeTree::pathOf(outline.itemAtRow(row)));
            return paths;
        }
        /// Counted by the tree view itself.
        int shownRow(const QModelIndex& index) const {
            int row = 0;
            for (QModelIndex i = outline.model()->index(0, 0); i.isValid() && i != index;
                 i = outline.indexBelow(i))
                ++row;
            return row;
        }

        FakeTree tree;
        OutlineView outline;
    };

 private Q_SLOTS:
    void asksNothingBeforeTheFirstReload();
    void asksOnlyForWhatIsShown();
    void reloadingFollowsTheDataSource_data();
    void reloadingFollowsTheDataSource();
    void reloadingKeepsWhatWasExpandedAndSelected();
    void rowsAreThoseOfTheTopLevelUntilTheHandlerReturns();
    void deselectingInTheHandlerReachesFurtherDown();
    void whatTheHandlerSelectsJoinsTheSelection();
    void aReloadAloneTellsOfNoSelectionChange();
    void reloadingOneItem();
    void aFolderThatAnswersLateComesBackAsItWas();
    void collapsingHidesTheSelectionAndKeepsTheFocus();
    void aThrowingDataSourceCostsOneAnswer_data();
    void aThrowingDataSourceCostsOneAnswer();
    void aReloadFromWithinAnAnswerIsPutOff();
    void keysMoveThroughTheTree();
    void randomChangesKeepRowsInOrder();
    void paintsItsRows_data();
    void paintsItsRows();
};

void TestOutline::asksNothingBeforeTheFirstReload() {
    Fixture f;
    f.outline.tableColumnWithIdentifier(QStringLiteral("folders"))->setHeaderTitle(QStringLiteral("Places"));
    f.outline.grab();
    QCOMPARE(f.tree.asked, QStringList());
    QCOMPARE(f.outline.model()->headerData(0, Qt::Horizontal).toString(), QStringLiteral("Places"));
    QCOMPARE(f.outline.accessibleName(), QStringLiteral("Places"));
    QVERIFY(!f.outline.tableColumnWithIdentifier(QStringLiteral("others")));
}

void TestOutline::asksOnlyForWhatIsShown() {
    Fixture f;
    QStringList many;
    for (int i = 0; i < 2000; ++i)
        many.append(QStringLiteral("/b/%1").arg(i));
    f.tree.below[QStringLiteral("/b")] = many;
    f.reload();
    f.outline.grab();
    QCOMPARE(f.tree.asked.count(QStringLiteral("count ")), 1);
    QVERIFY2(!f.tree.asked.contains(QStringLiteral("count /a")), "children of a collapsed row");

    f.expand({"/b"});
    f.outline.grab();
    QCOMPARE(f.outline.numberOfRows(), 2003);
    const auto painted = f.tree.asked.filter(QStringLiteral("expandable /b/")).size();
    QVERIFY(painted > 5);
    QVERIFY2(painted < 20, "expandability of rows out of sight");
    QVERIFY2(f.tree.asked.filter(QStringLiteral("text /b/")).size() < 20, "texts of rows out of sight");
    QVERIFY(f.tree.displayed.contains(QStringLiteral("0")));
}

void TestOutline::reloadingFollowsTheDataSource_data() {
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"first rows", "", "/a /b"},
        {"nothing left", "/a /b /c", ""},
        {"the same", "/a /b /c", "/a /b /c"},
        {"one more at each place", "/b /d", "/a /b /c /d /e"},
        {"two runs fewer", "/a /b /c /d /e /f", "/b /e"},
        {"turned round", "/a /b /c /d", "/d /c /b /a"},
        {"all at once", "/a /b /c /d /e", "/e /x /c /y /z /a"},
        {"others", "/a /b", "/x /y"},
        {"equal ones", "/a /a /b", "/a /b /a /a"},
    };
    for (const auto& [name, before, after] : cases)
        QTest::newRow(name) << QString::fromLatin1(before) << QString::fromLatin1(after);
}

void TestOutline::reloadingFollowsTheDataSource() {
    QFETCH(QString, before);
    QFETCH(QString, after);
    Fixture f;
    f.tree.below[QString()] = before.split(u' ', Qt::SkipEmptyParts);
    f.reload();
    QHash<QString, QPersistentModelIndex> kept;
    for (int row = 0; row < f.outline.numberOfRows(); ++row)
        kept[FakeTree::pathOf(f.outline.itemAtRow(row))] = f.outline.model()->index(row, 0);

    f.tree.below[QString()] = after.split(u' ', Qt::SkipEmptyParts);
    f.reload();
    QStringList paths;
    for (int row = 0; row < f.outline.numberOfRows(); ++row) {
        paths.append(FakeTree::pathOf(f.outline.itemAtRow(row)));
        QCOMPARE(f.outline.rowForItem(f.outline.itemAtRow(row)), row);
    }
    QCOMPARE(paths, f.tree.below[QString()]);
    for (auto i = kept.begin(); i != kept.end(); ++i) {
        QCOMPARE(i.value().isValid(), paths.contains(i.key()));
        if (i.value().isValid())
            QCOMPARE(FakeTree::pathOf(f.outline.itemAtRow(i.value().row())), i.key());
    }
}

void TestOutline::reloadingKeepsWhatWasExpandedAndSelected() {
    Fixture f;
    f.reload();
    f.expand({"/a", "/a/k", "/c"});
    f.outline.selectRow(f.row("/c/m"), false);
    f.outline.selectRow(f.row("/a/k/x"), true);
    const QStringList rows = shownRows(f.outline);
    const QStringList selected = f.selected();
    const OutlineItem* oldItem = f.item("/a/k");
    f.tree.selectionChanges = 0;

    f.outline.reloadData();
    f.reload();
    QCOMPARE(shownRows(f.outline), rows);
    QCOMPARE(f.selected(), selected);
    QCOMPARE(f.outline.selectedRow(), f.row("/a/k/x"));
    QVERIFY(f.item("/a/k") != oldItem);
    QCOMPARE(f.outline.rowForItem(oldItem), -1);
    QCOMPARE(f.outline.currentIndex().data().toString(), QStringLiteral("x"));
    QCOMPARE(f.tree.selectionChanges, 0);
}

void TestOutline::rowsAreThoseOfTheTopLevelUntilTheHandlerReturns() {
    Fixture f;
    f.reload();
    f.expand({"/a", "/a/k"});
    f.outline.selectRow(f.row("/a/k/x"), false);
    f.tree.below[QString()] = words("/0 /a /b /c");

    f.outline.reloadData();
    QCOMPARE(shownRows(f.outline), words("0 a b c"));
    QCOMPARE(f.outline.numberOfRows(), 4);
    QCOMPARE(f.outline.selectedRow(), 1);
    QCOMPARE(FakeTree::pathOf(f.outline.itemAtRow(3)), QStringLiteral("/c"));
    returnToEventLoop();
    QCOMPARE(f.outline.selectedRow(), f.row("/a/k/x"));
    QCOMPARE(f.outline.numberOfRows(), 8);
}

void TestOutline::deselectingInTheHandlerReachesFurtherDown() {
    Fixture f;
    f.reload();
    f.expand({"/a", "/a/k"});
    f.outline.selectRow(f.row("/b"), false);
    f.outline.selectRow(f.row("/a/k/x"), true);
    f.tree.selectionChanges = 0;

    f.outline.reloadData();
    f.outline.deselectRow(f.outline.selectedRow());
    QCOMPARE(f.tree.selectionChanges, 1);
    QCOMPARE(f.outline.selectedRow(), 1);
    returnToEventLoop();
    QCOMPARE(f.selected(), words("/b"));
    QCOMPARE(f.outline.selectedRow(), f.row("/b"));
    QCOMPARE(f.tree.selectionChanges, 1);
}

void TestOutline::whatTheHandlerSelectsJoinsTheSelection() {
    Fixture f;
    f.reload();
    f.expand({"/a", "/a/k"});
    f.outline.selectRow(f.row("/a/k/x"), false);
    f.tree.selectionChanges = 0;
    int rowWhenTold = -1;
    f.tree.whenSelectionChanges = [&] {
        rowWhenTold = f.outline.selectedRow();
    };

    f.outline.reloadData();
    f.outline.selectRow(2, true);
    f.outline.expandItem(f.outline.itemAtRow(2));
    QCOMPARE(rowWhenTold, 2);
    returnToEventLoop();
    QCOMPARE(f.selected(), words("/a/k/x /c"));
    QCOMPARE(f.outline.selectedRow(), f.row("/c"));
    QVERIFY(f.item("/c/m"));
    QCOMPARE(f.tree.selectionChanges, 1);
}

void TestOutline::aReloadAloneTellsOfNoSelectionChange() {
    Fixture f;
    f.reload();
    f.expand({"/a"});
    f.outline.selectRow(f.row("/a/l"), false);
    f.outline.selectRow(f.row("/b"), true);
    f.tree.selectionChanges = 0;

    f.tree.below[QString()] = words("/a /c");
    f.tree.below[QStringLiteral("/a")] = words("/a/k");
    f.reload();
    QCOMPARE(f.outline.selectedRow(), -1);
    QCOMPARE(f.tree.selectionChanges, 0);

    f.tree.below[QString()] = words("/a /b /c");
    f.reload();
    QVERIFY2(f.selected().isEmpty(), "a place that went and came is selected without anybody's doing");
}

void TestOutline::reloadingOneItem() {
    Fixture f;
    f.reload();
    f.expand({"/a", "/a/k"});
    f.outline.selectRow(f.row("/a/k/x"), false);
    const QStringList rows = shownRows(f.outline);
    FakeTree::Item stranger(QStringLiteral("/a"));
    f.tree.asked.clear();
    f.outline.reloadItem(&stranger, true);
    f.outline.reloadItem(nullptr, true);
    QCOMPARE(f.tree.asked, QStringList());

    auto* a = static_cast<FakeTree::Item*>(f.item("/a"));
    a->isListed = false;
    f.tree.below[QStringLiteral("/a")] = words("/a/j /a/k");
    f.outline.reloadItem(a, false);
    QCOMPARE(shownRows(f.outline), rows);
    f.outline.reloadItem(a, true);
    QCOMPARE(
        shownRows(f.outline),
        QStringList({QStringLiteral("a"), QStringLiteral(" j"), QStringLiteral(" k"), QStringLiteral("  x"),
                     QStringLiteral("  y"), QStringLiteral("b"), QStringLiteral("c")}));
    QCOMPARE(f.selected(), words("/a/k/x"));
}

void TestOutline::aFolderThatAnswersLateComesBackAsItWas() {
    Fixture f;
    f.reload();
    f.expand({"/a", "/a/k"});
    f.outline.selectRow(f.row("/a/k/x"), false);
    const QStringList rows = shownRows(f.outline);
    const QStringList late = f.tree.below.take(QStringLiteral("/a"));
    f.tree.selectionChanges = 0;

    f.reload();
    QCOMPARE(shownRows(f.outline), words("a b c"));
    f.tree.below[QStringLiteral("/a")] = late;
    static_cast<FakeTree::Item*>(f.item("/a"))->isListed = false;
    f.outline.reloadItem(f.item("/a"), true);
    QCOMPARE(shownRows(f.outline), rows);
    QCOMPARE(f.selected(), words("/a/k/x"));
    QCOMPARE(f.tree.selectionChanges, 0);
}

void TestOutline::collapsingHidesTheSelectionAndKeepsTheFocus() {
    Fixture f;
    f.reload();
    f.expand({"/a", "/a/k"});
    f.outline.selectRow(f.row("/a/k/x"), false);
    const QStringList rows = shownRows(f.outline);
    f.outline.collapseItem(f.item("/a"));
    QCOMPARE(f.outline.selectedRow(), -1);
    QCOMPARE(f.outline.currentIndex().data().toString(), QStringLiteral("a"));

    f.reload();
    QCOMPARE(shownRows(f.outline), words("a b c"));
    f.expand({"/a"});
    QCOMPARE(shownRows(f.outline), rows);
    QCOMPARE(f.outline.selectedRow(), f.row("/a/k/x"));

    f.outline.collapseItem(f.item("/a"));
    f.outline.selectRow(f.row("/b"), false);
    f.expand({"/a"});
    QCOMPARE(f.selected(), words("/b"));
}

void TestOutline::aThrowingDataSourceCostsOneAnswer_data() {
    QTest::addColumn<QString>("question");
    QTest::addColumn<QStringList>("rows");
    QTest::newRow("count") << QStringLiteral("count") << QStringList();
    QTest::newRow("child") << QStringLiteral("child") << QStringList();
    QTest::newRow("expandable") << QStringLiteral("expandable") << words("a b c");
    QTest::newRow("text") << QStringLiteral("text") << QStringList({QString(), QString(), QString()});
    QTest::newRow("display") << QStringLiteral("display") << words("a b c");
    QTest::newRow("selection") << QStringLiteral("selection") << words("a b c");
}

void TestOutline::aThrowingDataSourceCostsOneAnswer() {
    QFETCH(QString, question);
    QFETCH(QStringList, rows);
    Fixture f;
    f.tree.throwing = question;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("the fake was told to throw")));
    f.outline.reloadData();
    f.outline.selectRow(0, false);
    f.outline.grab();
    QCOMPARE(shownRows(f.outline), rows);
    f.tree.throwing.clear();
    f.reload();
    QCOMPARE(shownRows(f.outline), words("a b c"));
}

void TestOutline::aReloadFromWithinAnAnswerIsPutOff() {
    Fixture f;
    f.reload();
    f.tree.whenAskedForText = [&] {
        f.tree.whenAskedForText = nullptr;
        f.tree.below[QString()] = words("/z");
        f.outline.reloadData();
        f.outline.reloadItem(f.outline.itemAtRow(0), true);
    };
    QCOMPARE(shownRows(f.outline), words("a b c"));
    returnToEventLoop();
    QCOMPARE(shownRows(f.outline), words("z"));
}

void TestOutline::keysMoveThroughTheTree() {
    Fixture f;
    f.reload();
    f.outline.show();
    f.outline.setCurrentIndex(f.outline.model()->index(0, 0));
    QTest::keyClick(&f.outline, Qt::Key_Right);
    QCOMPARE(f.outline.numberOfRows(), 5);
    QTest::keyClick(&f.outline, Qt::Key_Down);
    QCOMPARE(f.outline.selectedRow(), 1);
    QTest::keyClick(&f.outline, Qt::Key_Left);
    QTest::keyClick(&f.outline, Qt::Key_Left);
    QCOMPARE(f.outline.numberOfRows(), 3);
    QTest::keyClick(&f.outline, Qt::Key_C);
    QCOMPARE(f.outline.selectedRow(), 2);
    QTest::keyClick(&f.outline, Qt::Key_Home);
    QTest::keyClick(&f.outline, Qt::Key_Asterisk);
    QCOMPARE(shownRows(f.outline).size(), 5);
    QVERIFY2(!f.tree.asked.contains(QStringLiteral("count /a/k")), "the asterisk walked the whole tree");

    QTest::keyClick(&f.outline, Qt::Key_Down);
    f.outline.reloadData();
    QTest::keyClick(&f.outline, Qt::Key_Down);
    QCOMPARE(f.outline.selectedRow(), 2);
}

/// Whatever happens in whatever order, rows are those that the tree view itself walks through.
void TestOutline::randomChangesKeepRowsInOrder() {
    Fixture f;
    QRandomGenerator random(20240607);
    f.outline.reloadData();
    for (int step = 0; step < 300; ++step) {
        const int row = static_cast<int>(random.bounded(f.outline.numberOfRows() + 1));
        OutlineItem* item = f.outline.itemAtRow(row);
        const QString path = FakeTree::pathOf(item);
        QStringList& below = f.tree.below[path];
        switch (random.bounded(7)) {
            case 0:
                f.outline.collapseItem(item);
                break;
            case 1:
            case 2:
                f.outline.expandItem(item);
                break;
            case 3:
                f.outline.selectRow(row, random.bounded(2) == 0);
                break;
            case 4:
                f.outline.reloadData();
                break;
            case 5:
                returnToEventLoop();
                break;
            default:
                if (path.count(u'/') < 5)
                    below.insert(random.bounded(static_cast<int>(below.size()) + 1),
                                 path + u'/' + QString::number(step));
                if (below.size() > 3)
                    below.removeAt(random.bounded(static_cast<int>(below.size())));
                if (item)
                    static_cast<FakeTree::Item*>(item)->isListed = false;
                f.outline.reloadItem(item, true);
        }
        QStringList byRow;
        for (int i = 0; i < f.outline.numberOfRows(); ++i) {
            const QString shownPath = FakeTree::pathOf(f.outline.itemAtRow(i));
            byRow.append(QString(shownPath.count(u'/') - 1, u' ') + shownPath.section(u'/', -1));
            QCOMPARE(f.outline.rowForItem(f.outline.itemAtRow(i)), i);
        }
        QCOMPARE(byRow, shownRows(f.outline));
        if (const int selected = f.outline.selectedRow(); selected >= 0)
            QVERIFY(selected < byRow.size());
    }
}

void TestOutline::paintsItsRows_data() {
    QTest::addColumn<bool>("isDark");
    QTest::addColumn<Qt::LayoutDirection>("direction");
    QTest::newRow("light") << false << Qt::LeftToRight;
    QTest::newRow("dark") << true << Qt::LeftToRight;
    QTest::newRow("right-to-left") << false << Qt::RightToLeft;
}

/// The text of each row and the mark of the selected one stand out from what is behind them. With
/// TAVLIN_TEST_PICTURES set to a folder, the pictures are left there to be looked at.
void TestOutline::paintsItsRows() {
    QFETCH(bool, isDark);
    QFETCH(Qt::LayoutDirection, direction);
    Fixture f;
    f.tree.below[QStringLiteral("/b")] = {QStringLiteral("/b/two\nlines")};
    f.tree.below[QStringLiteral("/c/m")] = {QStringLiteral("/c/m/a name that is far too long for its row")};
    if (isDark)
        f.outline.setPalette(QPalette(QColor(60, 60, 60), QColor(30, 30, 30)));
    f.outline.setLayoutDirection(direction);
    f.outline.tableColumnWithIdentifier(QStringLiteral("folders"))->setHeaderTitle(QStringLiteral("Places"));
    f.outline.reloadData();
    f.expand({"/a", "/a/k", "/a/k/x", "/b", "/c", "/c/m"});
    f.outline.show();
    f.outline.activateWindow();
    f.outline.setFocus();
    QVERIFY(QTest::qWaitForWindowActive(&f.outline));
    f.outline.selectRow(f.row("/a/k"), false);
    QCOMPARE(f.outline.model()->index(0, 0, f.outline.model()->index(1, 0)).data().toString(),
             QStringLiteral("two lines"));

    const QString folder = qEnvironmentVariable("TAVLIN_TEST_PICTURES");
    if (!folder.isEmpty())
        QVERIFY(f.outline.grab().save(
            QStringLiteral("%1/outline-%2.png").arg(folder, QLatin1String(QTest::currentDataTag()))));
    const QImage picture = f.outline.viewport()->grab().toImage();
    const QRect row = f.outline.visualRect(f.outline.currentIndex());
    int darkest = 255;
    int brightest = 0;
    for (int x = row.left() + 1; x < row.left() + row.width() - 1; ++x) {
        for (int y = row.top() + 2; y < row.bottom() - 1; ++y) {
            const int brightness = qGray(picture.pixel(x, y));
            darkest = std::min(darkest, brightness);
            brightest = std::max(brightest, brightness);
        }
    }
    QVERIFY2(brightest - darkest > 90, "the selected row's text is not to be read");
    QVERIFY(row.height() >= 20);
    const int indent = f.outline.indentation();
    QCOMPARE(direction == Qt::LeftToRight ? row.left() : f.outline.viewport()->width() - 1 - row.right(),
             2 * indent);
}

TAVLIN_TEST_MAIN(QApplication, TestOutline)
#include "tst_outline.moc"
