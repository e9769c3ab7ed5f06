// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/FakeTree.h"
#include "testing/TestMain.h"

#include <QAbstractItemModelTester>
#include <QApplication>

using platform::OutlineItem;
using platform::OutlineView;

namespace {

QString text(const char* latin) {
    return QString::fromLatin1(latin);
}

QStringList words(const QString& blankSeparated) {
    return blankSeparated.split(u' ', Qt::SkipEmptyParts);
}

/// /a holds /a/k and /a/l, /a/k holds /a/k/x and the leaf /a/k/y, /b holds nothing, /c holds /c/m.
struct Fixture {
    Fixture() {
        setBelow("", "/a /b /c");
        setBelow("/a", "/a/k /a/l");
        setBelow("/a/k", "/a/k/x /a/k/y");
        setBelow("/c", "/c/m");
        tree.leaves = {text("/a/k/y")};
        outline.setColumnIdentifier(text("folders"));
        outline.setDataSource(&tree);
        outline.setDelegate(&tree);
        outline.resize(240, 300);
        auto* tester = new QAbstractItemModelTester(
            outline.model(), QAbstractItemModelTester::FailureReportingMode::Fatal, &outline);
        tester->setUseFetchMore(false);
    }
    void setBelow(const char* path, const char* paths) { tree.below[text(path)] = words(text(paths)); }
    static void returnToEventLoop() { QCoreApplication::sendPostedEvents(); }
    void reload() {
        outline.reloadData();
        returnToEventLoop();
    }
    QString pathAt(int row) const { return FakeTree::pathOf(outline.itemAtRow(row)); }
    int row(const char* path) const {
        for (int row = 0; row < outline.numberOfRows(); ++row)
            if (pathAt(row) == text(path))
                return row;
        return -1;
    }
    FakeTree::Item* item(const char* path) const {
        return static_cast<FakeTree::Item*>(outline.itemAtRow(row(path)));
    }
    void expand(std::initializer_list<const char*> paths) {
        for (const char* path : paths)
            outline.expandItem(item(path));
    }
    /// /a and /a/k are expanded, these rows selected and their changes forgotten.
    void selectInExpanded(std::initializer_list<const char*> paths) {
        reload();
        expand({"/a", "/a/k"});
        for (const char* path : paths)
            outline.selectRow(row(path), true);
        tree.selectionChanges = 0;
    }
    /// The rows as the tree view itself walks through them, each with a dot for each level.
    QString shown(bool selectedOnly = false) const {
        QStringList rows;
        for (QModelIndex i = outline.model()->index(0, 0); i.isValid(); i = outline.indexBelow(i)) {
            QString shownText = i.data().toString();
            for (QModelIndex parent = i.parent(); parent.isValid(); parent = parent.parent())
                shownText.prepend(u'.');
            if (!selectedOnly || outline.selectionModel()->isSelected(i))
                rows.append(shownText);
        }
        return rows.join(u' ');
    }
    QString selected() const { return shown(true); }

    FakeTree tree;
    OutlineView outline;
};

}  // namespace

class TestOutline : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void asksOnlyForWhatIsShown() {
        Fixture f;
        for (int i = 0; i < 2000; ++i)
            f.tree.below[text("/b")].append(text("/b/%1").arg(i));
        f.reload();
        f.outline.grab();
        QVERIFY2(!f.tree.asked.contains(text("count /a")), "children of a collapsed row");
        f.expand({"/b"});
        f.outline.grab();
        QCOMPARE(f.outline.numberOfRows(), 2003);
        for (const char* question : {"expandable", "text", "display"}) {
            const auto asked = f.tree.asked.filter(text(question) + text(" /b/")).size();
            QVERIFY2(asked > 5 && asked < 20, question);
        }
    }

    void reloadingFollowsTheDataSource_data() {
        const Table<QString, QString> row("before", "after");
        const char* const cases[][3] = {
            {"first rows", "", "/a /b"},
            {"one more at each place", "/b /d", "/a /b /c /d /e"},
            {"two runs fewer", "/a /b /c /d /e /f", "/b /e"},
            {"turned round", "/a /b /c /d", "/d /c /b /a"},
            {"all at once", "/a /b /c /d /e", "/e /x /c /y /z /a"},
            {"equal ones", "/a /a /b", "/a /b /a /a"},
        };
        for (const auto& [name, before, after] : cases)
            row(name, text(before), text(after));
    }

    void reloadingFollowsTheDataSource() {
        QFETCH(QString, before);
        QFETCH(QString, after);
        Fixture f;
        f.tree.below[QString()] = words(before);
        f.reload();
        QHash<QString, QPersistentModelIndex> kept;
        for (int row = 0; row < f.outline.numberOfRows(); ++row)
            kept[f.pathAt(row)] = f.outline.model()->index(row, 0);

        f.tree.below[QString()] = words(after);
        f.reload();
        QStringList paths;
        for (int row = 0; row < f.outline.numberOfRows(); ++row) {
            paths.append(f.pathAt(row));
            QCOMPARE(f.outline.rowForItem(f.outline.itemAtRow(row)), row);
        }
        QCOMPARE(paths, words(after));
        for (auto i = kept.begin(); i != kept.end(); ++i)
            QCOMPARE(i.value().isValid() ? f.pathAt(i.value().row()) : QString(),
                     paths.contains(i.key()) ? i.key() : QString());
    }

    void reloadingKeepsWhatWasExpandedAndSelected() {
        Fixture f;
        f.selectInExpanded({"/c", "/a/k/x"});
        const OutlineItem* oldItem = f.item("/a/k");
        f.outline.reloadData();
        f.reload();
        QCOMPARE(f.shown(), text("a .k ..x ..y .l b c"));
        QCOMPARE(f.selected(), text("..x c"));
        QCOMPARE(f.outline.selectedRow(), f.row("/a/k/x"));
        QCOMPARE(f.outline.currentIndex().data().toString(), text("x"));
        QVERIFY(f.item("/a/k") != oldItem);
        QCOMPARE(f.outline.rowForItem(oldItem), -1);
        QCOMPARE(f.tree.selectionChanges, 0);
    }

    void rowsAreThoseOfTheTopLevelUntilTheHandlerReturns() {
        Fixture f;
        f.selectInExpanded({"/b", "/a/k/x"});
        f.setBelow("", "/0 /a /b /c");
        f.outline.reloadData();
        QCOMPARE(f.shown(), text("0 a b c"));
        QCOMPARE(f.outline.numberOfRows(), 4);
        QCOMPARE(f.pathAt(3), text("/c"));
        QCOMPARE(f.outline.selectedRow(), 1);
        f.outline.deselectRow(1);
        QCOMPARE(f.outline.selectedRow(), 2);
        QCOMPARE(f.tree.selectionChanges, 1);
        f.outline.selectRow(3, true);
        f.outline.expandItem(f.outline.itemAtRow(3));
        QCOMPARE(f.tree.selectionChanges, 2);
        f.returnToEventLoop();
        QCOMPARE(f.shown(), text("0 a .k ..x ..y .l b c .m"));
        QCOMPARE(f.selected(), text("b c"));
        QCOMPARE(f.outline.selectedRow(), f.row("/c"));
        QCOMPARE(f.tree.selectionChanges, 2);
    }

    void aReloadAloneTellsOfNoSelectionChange() {
        Fixture f;
        f.selectInExpanded({"/a/l", "/b"});
        f.setBelow("", "/a /c");
        f.setBelow("/a", "/a/k");
        f.reload();
        QCOMPARE(f.outline.selectedRow(), -1);
        f.setBelow("", "/a /b /c");
        f.reload();
        QVERIFY2(f.selected().isEmpty(), "a place that went and came is selected without anybody's doing");
        QCOMPARE(f.tree.selectionChanges, 0);
    }

    void reloadingOneItem() {
        Fixture f;
        f.selectInExpanded({"/a/k/x"});
        f.setBelow("/a", "");
        f.reload();
        QCOMPARE(f.shown(), text("a b c"));
        f.setBelow("/a", "/a/j /a/k");
        f.item("/a")->isListed = false;
        FakeTree::Item stranger(text("/a"));
        f.outline.reloadItem(&stranger, true);
        f.outline.reloadItem(f.item("/a"), false);
        QCOMPARE(f.shown(), text("a b c"));
        f.outline.reloadItem(f.item("/a"), true);
        QVERIFY2(f.shown() == text("a .j .k ..x ..y b c"), "a folder that answers late comes back as it was");
        QCOMPARE(f.selected(), text("..x"));
        f.setBelow("/a", "/a/k /a/l");
        f.item("/a")->isListed = false;
        f.outline.reloadItem(f.item("/a"), true);
        QCOMPARE(f.shown(), text("a .k ..x ..y .l b c"));
        QCOMPARE(f.selected(), text("..x"));
        QCOMPARE(f.tree.selectionChanges, 0);
    }

    void aThrowingDataSourceCostsOneAnswer() {
        Fixture f;
        for (const char* question : {"count", "child", "expandable", "text", "display", "selection"}) {
            f.tree.throwing = text(question);
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(text("the fake was told to throw")));
            f.reload();
            f.outline.selectRow(0, false);
            f.outline.grab();
            f.tree.throwing.clear();
            f.reload();
            QCOMPARE(f.shown(), text("a b c"));
            f.outline.selectRow(2, false);
        }
    }
};

TAVLIN_TEST_MAIN(QApplication, TestOutline)
#include "tst_outline.moc"
