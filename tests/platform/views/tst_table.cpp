// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/TableView.h"
#include "platform/views/ToolTipText.h"
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

QString text(const char* latin) {
    return QString::fromLatin1(latin);
}

class FakeRows : public platform::TableViewDataSource {
 public:
    QStringList rows;
    QStringList asked;
    bool isAwake = true;

    int numberOfRowsInTableView(TableView&) override {
        asked.append(text("count"));
        return static_cast<int>(rows.size());
    }
    QString tableViewObjectValueForTableColumnRow(TableView&, platform::TableColumn&, int row) override {
        asked.append(text("text"));
        return isAwake ? rows.at(row) : QString();
    }
    DragOperation tableViewValidateDropProposedRowProposedDropOperation(TableView&, int row,
                                                                        DropOperation operation) override {
        asked.append(text("validate %1").arg(row));
        return operation == DropOperation::on ? DragOperation::generic : DragOperation::none;
    }
    bool tableViewAcceptDropRowDropOperation(TableView&, int row, DropOperation) override {
        asked.append(text("accept %1").arg(row));
        throw std::runtime_error("the fake never takes a drop");
    }
    bool tableViewWriteRowsToPasteboard(TableView&) override { return false; }
    void tableViewSelectionDidChange(TableView&) override { asked.append(text("selection")); }
    QString tableViewToolTipForRow(TableView&, int row) override { return text("tip of ") + rows.at(row); }
};

}  // namespace

class TestTable : public QObject {
    Q_OBJECT

    struct Fixture {
        Fixture() {
            source.rows = {text("copy"), text("mail"), text("rotate")};
            table.setColumnIdentifier(text("scriptNames"));
            table.setDataSource(&source);
            table.registerForDraggedFileNames();
            table.resize(200, 200);
            table.grab();
            wasAskedEarly = !source.asked.isEmpty();
            table.reloadData();
            table.show();
        }
        QPoint centreOf(int row) const {
            return row < 0 ? QPoint(20, table.viewport()->height() - 5)
                           : table.visualRect(table.model()->index(row, 0)).center();
        }
        FakeRows source;
        bool wasAskedEarly = false;
        TableView table;
    };

 private Q_SLOTS:
    void asksWhenItIsTimeAndAgainForWhatIsNotThereYet() {
        Fixture f;
        QVERIFY2(!f.wasAskedEarly, "before the first reload");
        f.source.isAwake = false;
        f.table.reloadData();
        QCOMPARE(f.table.numberOfRows(), 3);
        const QModelIndex index = f.table.model()->index(1, 0);
        QVERIFY(!index.data().isValid());
        f.source.isAwake = true;
        QCOMPARE(index.data().toString(), text("mail"));
        // As HTML that shows the very text: a name that looks like HTML names no picture to open.
        QVERIFY(index.data(Qt::ToolTipRole).toString().contains(text("tip of mail")));
        QCOMPARE(platform::toolTipText(text("<img src=x>")), text("<p>&lt;img src=x&gt;</p>"));
    }

    void reloadingKeepsTheSelectedText() {
        Fixture f;
        f.table.grab();
        f.table.selectRow(1);
        QVERIFY(f.source.asked.contains(text("selection")));
        f.source.asked.clear();
        f.source.rows.prepend(text("another"));
        f.table.reloadData();
        QCOMPARE(f.table.selectedRow(), 2);
        f.source.rows.clear();
        f.table.reloadData();
        QCOMPARE(f.table.selectedRow(), -1);
        QVERIFY2(!f.source.asked.contains(text("selection")), "nobody changed the selection");
    }

    void theDoubleAction() {
        Fixture f;
        QList<int> rows;
        f.table.setDoubleAction([&] { rows.append(f.table.selectedRow()); });
        QTest::mouseDClick(f.table.viewport(), Qt::LeftButton, {}, f.centreOf(-1));
        QTest::mouseClick(f.table.viewport(), Qt::LeftButton, {}, f.centreOf(2));
        QTest::mouseDClick(f.table.viewport(), Qt::LeftButton, {}, f.centreOf(2));
        QTest::mouseDClick(f.table.viewport(), Qt::RightButton, {}, f.centreOf(2));
        QTest::keyClick(&f.table, Qt::Key_Up);
        QTest::keyClick(&f.table, Qt::Key_Return);
        QCOMPARE(rows, QList<int>({-1, 2, 1}));

        f.table.setDoubleAction([] { throw std::runtime_error("no such row"); });
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(text("no such row")));
        QTest::keyClick(&f.table, Qt::Key_Enter);
    }

    /// The data source hears of a drop when the dragging program has its answer, which is Copy even where
    /// that offers to move.
    void drops() {
        Fixture f;
        QMimeData files;
        files.setUrls({QUrl::fromLocalFile(text("/some/file"))});
        QMimeData words;
        words.setText(text("some text"));
        const auto isTaken = [&](const QMimeData& dragged, int row) {
            const Qt::DropActions offered = Qt::MoveAction | Qt::CopyAction;
            QDragEnterEvent enter(f.centreOf(row), offered, &dragged, Qt::LeftButton, {});
            QDragMoveEvent move(f.centreOf(row), offered, &dragged, Qt::LeftButton, {});
            QDropEvent drop(f.centreOf(row), offered, &dragged, Qt::LeftButton, {});
            drop.setDropAction(Qt::MoveAction);
            for (QDropEvent* event :
                 {static_cast<QDropEvent*>(&enter), static_cast<QDropEvent*>(&move), &drop})
                QCoreApplication::sendEvent(f.table.viewport(), event);
            return move.isAccepted() && drop.isAccepted() && drop.dropAction() == Qt::CopyAction;
        };
        QVERIFY(!isTaken(words, 1));
        QVERIFY(!isTaken(files, -1));
        QVERIFY(isTaken(files, 1));
        QVERIFY(f.source.asked.filter(text("accept")).isEmpty());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(text("never takes a drop")));
        QCoreApplication::sendPostedEvents();
        QCOMPARE(f.source.asked.filter(text("accept")), QStringList(text("accept 1")));
    }

    void contextMenu() {
        Fixture f;
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
};

TAVLIN_TEST_MAIN(QApplication, TestTable)
#include "tst_table.moc"
