// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/TableView.h"
#include "testing/TestHome.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>

#include <stdexcept>

using platform::DragOperation;
using platform::DropOperation;
using platform::TableView;

namespace {

class FakeRows : public platform::TableViewDataSource {
 public:
    QStringList rows;
    QStringList asked;
    bool isAwake = true;

    int numberOfRowsInTableView(TableView&) override {
        asked.append(QStringLiteral("count"));
        return static_cast<int>(rows.size());
    }
    QString tableViewObjectValueForTableColumnRow(TableView&, platform::TableColumn&, int row) override {
        asked.append(QStringLiteral("text"));
        return isAwake ? rows.at(row) : QString();
    }
    DragOperation tableViewValidateDropProposedRowProposedDropOperation(TableView&, int row,
                                                                        DropOperation operation) override {
        asked.append(QStringLiteral("validate %1").arg(row));
        return operation == DropOperation::on ? DragOperation::generic : DragOperation::none;
    }
    bool tableViewAcceptDropRowDropOperation(TableView&, int row, DropOperation) override {
        asked.append(QStringLiteral("accept %1").arg(row));
        throw std::runtime_error("the fake never takes a drop");
    }
    bool tableViewWriteRowsToPasteboard(TableView&) override { return false; }
    void tableViewSelectionDidChange(TableView&) override { asked.append(QStringLiteral("selection")); }
    QString tableViewToolTipForRow(TableView&, int row) override {
        return QStringLiteral("tip of ") + rows.at(row);
    }
};

}  // namespace

class TestTable : public QObject {
    Q_OBJECT

    struct Fixture {
        Fixture() {
            source.rows = {QStringLiteral("copy"), QStringLiteral("mail"), QStringLiteral("rotate")};
            table.setColumnIdentifier(QStringLiteral("scriptNames"));
            table.setDataSource(&source);
            table.registerForDraggedFileNames();
            table.resize(200, 200);
        }
        QPoint centreOf(int row) const {
            return row < 0 ? QPoint(20, table.viewport()->height() - 5)
                           : table.visualRect(table.model()->index(row, 0)).center();
        }
        FakeRows source;
        TableView table;
    };

 private Q_SLOTS:
    void asksNothingBeforeTheFirstReload();
    void reloadingKeepsTheSelectedText_data();
    void reloadingKeepsTheSelectedText();
    void textsThatAreNotThereYetAreAskedForAgain();
    void theDoubleAction();
    void drops_data();
    void drops();
    void contextMenu();
};

void TestTable::asksNothingBeforeTheFirstReload() {
    Fixture f;
    f.table.grab();
    QCOMPARE(f.source.asked, QStringList());
    f.table.reloadData();
    QCOMPARE(f.table.numberOfRows(), 3);
    QCOMPARE(f.table.selectedRow(), -1);
    QCOMPARE(f.table.model()->index(1, 0).data(Qt::ToolTipRole).toString(), QStringLiteral("tip of mail"));
}

void TestTable::reloadingKeepsTheSelectedText_data() {
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<int>("selected");
    const QString mail = QStringLiteral("mail");
    const QString other = QStringLiteral("other");
    QTest::newRow("the same") << QStringList{other, mail, other} << 1;
    QTest::newRow("another before it") << QStringList{other, other, mail} << 2;
    QTest::newRow("gone") << QStringList{other, other, other} << -1;
    QTest::newRow("empty") << QStringList() << -1;
}

void TestTable::reloadingKeepsTheSelectedText() {
    QFETCH(QStringList, rows);
    QFETCH(int, selected);
    Fixture f;
    f.table.reloadData();
    f.table.grab();
    f.table.selectRow(1);
    QVERIFY(f.source.asked.contains(QStringLiteral("selection")));
    f.source.asked.clear();
    f.source.rows = rows;
    f.table.reloadData();
    QCOMPARE(f.table.selectedRow(), selected);
    QVERIFY(!f.source.asked.contains(QStringLiteral("selection")));
}

void TestTable::textsThatAreNotThereYetAreAskedForAgain() {
    Fixture f;
    f.source.isAwake = false;
    f.table.reloadData();
    const QModelIndex index = f.table.model()->index(0, 0);
    QVERIFY(!index.data().isValid());
    f.source.isAwake = true;
    QCOMPARE(index.data().toString(), QStringLiteral("copy"));
}

void TestTable::theDoubleAction() {
    Fixture f;
    QList<int> rows;
    f.table.setDoubleAction([&] { rows.append(f.table.selectedRow()); });
    f.table.reloadData();
    f.table.show();
    QTest::mouseDClick(f.table.viewport(), Qt::LeftButton, {}, f.centreOf(-1));
    QTest::mouseClick(f.table.viewport(), Qt::LeftButton, {}, f.centreOf(2));
    QTest::mouseDClick(f.table.viewport(), Qt::LeftButton, {}, f.centreOf(2));
    QTest::mouseDClick(f.table.viewport(), Qt::RightButton, {}, f.centreOf(2));
    QTest::keyClick(&f.table, Qt::Key_Up);
    QTest::keyClick(&f.table, Qt::Key_Return);
    QCOMPARE(rows, QList<int>({-1, 2, 1}));

    f.table.setDoubleAction([] { throw std::runtime_error("no such row"); });
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("no such row")));
    QTest::keyClick(&f.table, Qt::Key_Enter);
}

void TestTable::drops_data() {
    QTest::addColumn<bool>("isFiles");
    QTest::addColumn<int>("row");
    QTest::addColumn<bool>("isTaken");
    QTest::newRow("files on a row") << true << 1 << true;
    QTest::newRow("files below the rows") << true << -1 << false;
    QTest::newRow("text on a row") << false << 1 << false;
}

/// The data source hears of a drop when the dragging program has its answer, which is Copy even where that
/// offers to move.
void TestTable::drops() {
    QFETCH(bool, isFiles);
    QFETCH(int, row);
    QFETCH(bool, isTaken);
    Fixture f;
    f.table.reloadData();
    f.table.show();
    QMimeData mime;
    if (isFiles)
        mime.setUrls({QUrl::fromLocalFile(QStringLiteral("/some/file"))});
    else
        mime.setText(QStringLiteral("text"));
    const QPoint point = f.centreOf(row);
    QDragEnterEvent enter(point, Qt::MoveAction | Qt::CopyAction, &mime, Qt::LeftButton, {});
    QCoreApplication::sendEvent(f.table.viewport(), &enter);
    QCOMPARE(enter.isAccepted(), isFiles);
    QDragMoveEvent move(point, Qt::MoveAction | Qt::CopyAction, &mime, Qt::LeftButton, {});
    QCoreApplication::sendEvent(f.table.viewport(), &move);
    QCOMPARE(move.isAccepted(), isTaken);
    QDropEvent drop(point, Qt::MoveAction | Qt::CopyAction, &mime, Qt::LeftButton, {});
    drop.setDropAction(Qt::MoveAction);
    QCoreApplication::sendEvent(f.table.viewport(), &drop);
    QCOMPARE(drop.isAccepted(), isTaken);

    const QString accepted = QStringLiteral("accept %1").arg(row);
    QVERIFY(!f.source.asked.contains(accepted));
    if (isTaken) {
        QCOMPARE(drop.dropAction(), Qt::CopyAction);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("never takes a drop")));
    }
    QCoreApplication::sendPostedEvents();
    QCOMPARE(f.source.asked.contains(accepted), isTaken);
}

void TestTable::contextMenu() {
    Fixture f;
    f.table.reloadData();
    f.table.selectRow(2);
    const QSignalSpy asked(&f.table, &TableView::contextMenuAsked);
    const auto ask = [&](QContextMenuEvent::Reason reason, QPoint point) {
        QContextMenuEvent event(reason, point, f.table.viewport()->mapToGlobal(point));
        QCoreApplication::sendEvent(f.table.viewport(), &event);
        return asked.last().first().toInt();
    };
    QCOMPARE(ask(QContextMenuEvent::Mouse, f.centreOf(0)), 0);
    QCOMPARE(ask(QContextMenuEvent::Mouse, f.centreOf(-1)), -1);
    QCOMPARE(ask(QContextMenuEvent::Keyboard, {}), 2);
    QCOMPARE(asked.last().last().toPoint(), f.table.viewport()->mapToGlobal(f.centreOf(2)));
}

TAVLIN_TEST_MAIN(QApplication, TestTable)
#include "tst_table.moc"
