// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/ImageBrowserView.h"

#include "platform/views/GridTestParts.h"
#include "testing/TestHome.h"

#include <QAbstractItemModelTester>
#include <QAccessible>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDrag>
#include <QDropEvent>
#include <QLoggingCategory>
#include <QMimeData>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

#include <cmath>
#include <utility>

using platform::ImageBrowserView;
using platform::Thumbnail;

namespace {

/// Items or keys, each with the modifiers that are held.
using Presses = QList<QPair<int, int>>;

struct Destination : platform::DraggingDestination {
    int draggingEntered() override { return answer; }
    int draggingUpdated() override { return answer; }
    bool performDragOperation() override { return false; }
    int answer = 1;
};

/// A shown grid over 300 files and all it works with.
struct Grid {
    explicit Grid(int count = 300) {
        source.fill(count);
        view.setAnimates(false);
        view.setDataSource(&source);
        view.setBrowserDelegate(&delegate);
        view.setThumbnailQueue(&queue);
        view.resize(560, 400);
        view.setZoomValue(0.2F);
        view.show();
        view.activateWindow();
        view.reloadData();
        view.setFocus();
        if (!QTest::qWaitForWindowActive(&view))
            QTest::qFail("the grid's window does not become active", __FILE__, __LINE__);
        QApplication::processEvents();
    }

    QModelIndex at(int index) const { return view.model()->index(index, 0); }
    QRect cell(int index) const { return view.visualRect(at(index)); }
    QString selected() const { return view.selectionIndexes().description(); }
    int current() const { return view.currentIndex().row(); }
    int firstVisible() const {
        for (int i = 0; i < view.model()->rowCount(); ++i)
            if (cell(i).bottom() >= 0)
                return i;
        return -1;
    }

    void click(int index, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::mouseClick(view.viewport(), Qt::LeftButton, modifiers, cell(index).center());
    }
    /// Press and release at a place, as a double-click's second half, without a first.
    void doubleClick(int index) {
        click(index);
        QTest::mouseDClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, cell(index).center());
    }
    void key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(&view, Qt::Key(key), modifiers);
    }
    void move(QPoint point, Qt::MouseButtons buttons = Qt::LeftButton) {
        QMouseEvent event(QEvent::MouseMove, point, view.viewport()->mapToGlobal(point), Qt::NoButton,
                          buttons, Qt::NoModifier);
        QApplication::sendEvent(view.viewport(), &event);
    }
    void reload(const std::function<void(GridTestSource&)>& change) {
        view.prepareForReload();
        change(source);
        view.reloadData();
    }

    platform::ThumbnailQueue queue;
    GridTestSource source;
    GridTestDelegate delegate;
    ImageBrowserView view;
};

/// Counts what is painted of a widget, in area.
class PaintWatch : public QObject {
 public:
    explicit PaintWatch(QWidget* widget) { widget->installEventFilter(this); }
    QRegion painted;

 protected:
    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        if (event->type() == QEvent::Paint)
            painted += static_cast<QPaintEvent*>(event)->region();
        return false;
    }
};

}  // namespace

class ImageBrowserViewTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() { QApplication::setDoubleClickInterval(250); }

    void model() {
        Grid grid;
        QAbstractItemModelTester tester(grid.view.model(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        grid.reload([](GridTestSource& source) { source.remove(3, 50); });
        grid.reload([](GridTestSource& source) { source.insertAt(0, QStringLiteral("/p/a\nb.jpg")); });
        QCOMPARE(grid.view.model()->rowCount(), 251);
        QCOMPARE(grid.at(0).data().toString(), QStringLiteral("a b.jpg"));
        grid.reload([](GridTestSource& source) { source.items.clear(); });
        QCOMPARE(grid.view.model()->rowCount(), 0);
    }

    void aFailingDataSourceEndsNothing() {
        QLoggingCategory::setFilterRules(QStringLiteral("tavlin.guard=false"));
        Grid grid;
        grid.source.items.resize(2);  // the list has changed and the grid was not told
        grid.view.viewport()->repaint();
        QCOMPARE(grid.at(7).data().toString(), QString());
        grid.view.setDataSource(nullptr);
        QCOMPARE(grid.view.model()->rowCount(), 0);
        QLoggingCategory::setFilterRules({});
    }

    void clicks_data() {
        QTest::addColumn<Presses>("clicks");
        QTest::addColumn<QString>("selected");
        const int none = Qt::NoModifier;
        const int control = Qt::ControlModifier;
        const int shift = Qt::ShiftModifier;
        QTest::newRow("one") << Presses{{1, none}, {2, none}} << QStringLiteral("(2)");
        QTest::newRow("two") << Presses{{1, none}, {3, control}} << QStringLiteral("(1, 3)");
        QTest::newRow("in and out") << Presses{{1, none}, {3, control}, {1, control}}
                                    << QStringLiteral("(3)");
        QTest::newRow("range") << Presses{{2, none}, {5, shift}} << QStringLiteral("(2-5)");
        QTest::newRow("range back") << Presses{{2, none}, {5, shift}, {1, shift}} << QStringLiteral("(1-2)");
        QTest::newRow("both") << Presses{{0, none}, {3, control}, {5, control | shift}}
                              << QStringLiteral("(0, 3-5)");
    }
    void clicks() {
        QFETCH(Presses, clicks);
        Grid grid;
        for (const auto& [index, modifiers] : std::as_const(clicks))
            grid.click(index, Qt::KeyboardModifiers(modifiers));
        QTEST(grid.selected(), "selected");
        QCOMPARE(grid.current(), clicks.last().first);
        QVERIFY(grid.delegate.selectionChanges >= int(clicks.size()));
    }

    void keys_data() {
        QTest::addColumn<Presses>("keys");
        QTest::addColumn<QString>("selected");
        QTest::addColumn<int>("current");
        const int none = Qt::NoModifier;
        const int control = Qt::ControlModifier;
        const int shift = Qt::ShiftModifier;
        // From item 6 on, four columns.
        QTest::newRow("right") << Presses{{Qt::Key_Right, none}} << QStringLiteral("(7)") << 7;
        QTest::newRow("down") << Presses{{Qt::Key_Down, none}} << QStringLiteral("(10)") << 10;
        QTest::newRow("extend and shrink")
            << Presses{{Qt::Key_Down, shift}, {Qt::Key_Down, shift}, {Qt::Key_Up, shift}}
            << QStringLiteral("(6-10)") << 10;
        QTest::newRow("walk and pick")
            << Presses{{Qt::Key_Right, control}, {Qt::Key_Right, control}, {Qt::Key_Space, control}}
            << QStringLiteral("(6, 8)") << 8;
        QTest::newRow("home") << Presses{{Qt::Key_Home, shift}} << QStringLiteral("(0-6)") << 0;
        QTest::newRow("end") << Presses{{Qt::Key_End, none}} << QStringLiteral("(299)") << 299;
        QTest::newRow("all") << Presses{{Qt::Key_A, control}} << QStringLiteral("(0-299)") << 6;
    }
    void keys() {
        QFETCH(Presses, keys);
        Grid grid;
        QCOMPARE(grid.cell(4).left(), grid.cell(0).left());
        grid.click(6);
        for (const auto& [key, modifiers] : std::as_const(keys))
            grid.key(key, Qt::KeyboardModifiers(modifiers));
        QTEST(grid.selected(), "selected");
        QTEST(grid.current(), "current");
        if (keys.last().first != Qt::Key_A)
            QVERIFY(grid.view.viewport()->rect().contains(grid.cell(grid.current())));
    }

    void doubleClickReachesAllSelected() {
        Grid grid;
        grid.click(1);
        grid.click(3, Qt::ControlModifier);
        grid.click(5, Qt::ControlModifier);
        grid.doubleClick(3);
        QCOMPARE(grid.delegate.opened, std::vector<std::size_t>{3});
        QCOMPARE(grid.delegate.selectionsWhenOpened, QStringList{QStringLiteral("(1, 3, 5)")});
        QTest::qWait(QApplication::doubleClickInterval() + 50);  // nothing narrows it afterwards
        QCOMPARE(grid.selected(), QStringLiteral("(1, 3, 5)"));
        grid.doubleClick(7);
        QCOMPARE(grid.delegate.selectionsWhenOpened.last(), QStringLiteral("(7)"));
        grid.key(Qt::Key_Return);
        QCOMPARE(grid.delegate.opened, (std::vector<std::size_t>{3, 7, 7}));
    }

    void aClickOnOneOfSeveralNarrowsLate() {
        Grid grid;
        grid.view.setSelectionIndexes({1, 3, 5}, false);
        grid.click(3);
        QCOMPARE(grid.selected(), QStringLiteral("(1, 3, 5)"));
        QTRY_COMPARE_WITH_TIMEOUT(grid.selected(), QStringLiteral("(3)"), 1000);
        // What acts on the selection meanwhile acts on what the user has in mind.
        grid.view.setSelectionIndexes({1, 3, 5}, false);
        grid.click(5);
        grid.view.removeSelectedItems();
        QCOMPARE(grid.delegate.removed, QStringList{QStringLiteral("(5)")});
    }

    void rubberBand_data() {
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QString>("selected");
        QTest::newRow("alone") << int(Qt::NoModifier) << QStringLiteral("(5-6, 9-10)");
        QTest::newRow("adding") << int(Qt::ShiftModifier) << QStringLiteral("(0, 5-6, 9-10)");
        QTest::newRow("toggling") << int(Qt::ControlModifier) << QStringLiteral("(0, 5, 9-10)");
    }
    void rubberBand() {
        QFETCH(int, modifiers);
        Grid grid;
        grid.view.setSelectionIndexes({0, 6}, false);
        QWidget* const viewport = grid.view.viewport();
        QTest::mousePress(viewport, Qt::LeftButton, Qt::KeyboardModifiers(modifiers),
                          grid.cell(5).topLeft() - QPoint(3, 3));
        grid.move(grid.cell(11).center());
        grid.move(grid.cell(10).center());
        QTEST(grid.selected(), "selected");
        QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, grid.cell(10).center());
        QTEST(grid.selected(), "selected");
    }

    void rubberBandScrollsAndEscapes() {
        Grid grid;
        grid.view.setSelectionIndexes({2}, false);
        const QPoint start = grid.cell(4).topLeft() - QPoint(3, 3);
        QTest::mousePress(grid.view.viewport(), Qt::LeftButton, Qt::NoModifier, start);
        grid.move(QPoint(530, 460));
        QTRY_VERIFY(grid.view.selectionIndexes().contains(60));
        QCOMPARE(grid.view.selectionIndexes().firstIndex(), std::size_t(4));
        QCOMPARE(grid.view.selectionIndexes().ranges().size(), std::size_t(1));
        grid.key(Qt::Key_Escape);
        QCOMPARE(grid.selected(), QStringLiteral("(2)"));
    }

    void typeAhead() {
        Grid grid;
        for (const int i : {40, 80, 120})
            grid.source.items[std::size_t(i)]->path = QStringLiteral("/p/Zoo%1.jpg").arg(i);
        grid.source.items[200]->path = QStringLiteral("/p/zeb ra.jpg");
        grid.view.reloadData();
        QTest::keyClicks(&grid.view, QStringLiteral("z"));
        QCOMPARE(grid.selected(), QStringLiteral("(40)"));
        QTest::keyClicks(&grid.view, QStringLiteral("z"));
        QCOMPARE(grid.current(), 80);
        QTest::qWait(QApplication::keyboardInputInterval() + 50);  // a new word begins
        QTest::keyClicks(&grid.view, QStringLiteral("zeb r"));
        QCOMPARE(grid.selected(), QStringLiteral("(200)"));
        QVERIFY(grid.view.viewport()->rect().contains(grid.cell(200)));
    }

    void typeAheadOverAMillionHoldsNothingUp() {
        Grid grid(1'000'000);
        grid.source.items.back()->path = QStringLiteral("/p/last.jpg");
        QElapsedTimer clock;
        clock.start();
        QTest::keyClicks(&grid.view, QStringLiteral("l"));
        QVERIFY2(clock.elapsed() < 50, qPrintable(QString::number(clock.elapsed())));
        QTRY_COMPARE(grid.current(), 999'999);
    }

    void reloadKeepsWhatStays_data() {
        QTest::addColumn<int>("removeFirst");
        QTest::addColumn<int>("removeCount");
        QTest::addColumn<QString>("selected");
        QTest::addColumn<int>("current");
        // Before: 100, 102 and 140 are selected, 102 is current.
        QTest::newRow("nothing changed") << 0 << 0 << QStringLiteral("(100, 102, 140)") << 102;
        QTest::newRow("earlier ones went") << 0 << 8 << QStringLiteral("(92, 94, 132)") << 94;
        QTest::newRow("the current one went") << 102 << 1 << QStringLiteral("(100, 139)") << 102;
        QTest::newRow("all selected ones went") << 100 << 60 << QStringLiteral("()") << 100;
        QTest::newRow("all to the end went") << 100 << 200 << QStringLiteral("()") << 99;
    }
    void reloadKeepsWhatStays() {
        QFETCH(int, removeFirst);
        QFETCH(int, removeCount);
        QFETCH(QString, selected);
        Grid grid;
        grid.view.setSelectionIndexes({100, 102, 140}, false);
        grid.view.setCurrentIndex(grid.at(102));
        QSignalSpy counts(&grid.view, &ImageBrowserView::selectionCountChanged);
        grid.reload([&](GridTestSource& source) { source.remove(removeFirst, removeCount); });
        QCOMPARE(grid.selected(), selected);
        QTEST(grid.current(), "current");
        QCOMPARE(counts.count(), selected.count(u',') == 2 ? 0 : 1);
    }

    void anItemMadeAnewIsAnother() {
        Grid grid;
        grid.view.setSelectionIndexes({3}, false);
        // The same file in another object, most likely at the very address of the first.
        grid.reload([](GridTestSource& source) {
            source.items[3].reset();
            source.items[3] = std::make_unique<GridTestItem>(GridTestSource::pathOf(3));
        });
        QCOMPARE(grid.selected(), QStringLiteral("()"));
    }

    void reloadKeepsThePlace() {
        Grid grid;
        grid.view.scrollTo(grid.at(160), QAbstractItemView::PositionAtTop);
        const int y = grid.cell(160).top();
        grid.reload([](GridTestSource& source) {
            for (int i = 0; i < 8; ++i)
                source.insertAt(0, QStringLiteral("/p/new%1.jpg").arg(i));
        });
        QCOMPARE(grid.cell(168).top(), y);
        grid.reload([](GridTestSource& source) { source.remove(100, 72); });
        QCOMPARE(grid.cell(100).top(), y + grid.cell(4).top() - grid.cell(0).top());  // a row of it went
        grid.reload([](GridTestSource& source) {
            source.items.clear();
            source.fill(200);
        });
        QCOMPARE(grid.view.verticalScrollBar()->value(), 0);
    }

    void aReloadRepaintsOnlyWhatChanged() {
        Grid grid;
        PaintWatch watch(grid.view.viewport());
        grid.reload([](GridTestSource&) {});
        QTest::qWait(20);
        QVERIFY2(watch.painted.isEmpty(), "nothing changed, and still something was painted");
        grid.reload([](GridTestSource& source) {
            source.items[5] = std::make_unique<GridTestItem>(QStringLiteral("/p/else.jpg"));
        });
        QTRY_COMPARE(watch.painted.boundingRect(), grid.cell(5));
        watch.painted = {};
        grid.reload([](GridTestSource& source) { source.insertAt(290, QStringLiteral("/p/far.jpg")); });
        QTest::qWait(20);
        QVERIFY(watch.painted.isEmpty());
    }

    void zoomKeepsItsAnchor() {
        Grid grid;
        grid.view.verticalScrollBar()->setValue(1000);
        const int first = grid.firstVisible();
        const int top = grid.cell(first).top();
        for (const float zoom : {0.3F, 0.5F, 0.25F, 0.8F, 0.2F})
            grid.view.setZoomValue(zoom);
        QCOMPARE(grid.cell(first).top(), top);

        // Round the pointer: the item beneath it stays beneath its height.
        const QPoint pointer = grid.cell(first + 9).center();
        QSignalSpy zooms(&grid.view, &ImageBrowserView::zoomValueChanged);
        for (int i = 0; i < 5; ++i) {
            QWheelEvent wheel(pointer, grid.view.viewport()->mapToGlobal(pointer), {}, QPoint(0, 120),
                              Qt::NoButton, Qt::ControlModifier, Qt::NoScrollPhase, false);
            QApplication::sendEvent(grid.view.viewport(), &wheel);
            const QRect cell = grid.cell(first + 9);
            QVERIFY(cell.top() <= pointer.y() && pointer.y() <= cell.bottom());
        }
        QCOMPARE(zooms.count(), 5);
        QVERIFY(std::abs(grid.view.zoomValue() - 0.5F) < 0.01F);
        grid.key(Qt::Key_Minus);
        QVERIFY(std::abs(zooms.last().first().toFloat() - 0.4F) < 0.01F);
        grid.view.setZoomValue(std::nanf(""));
        QVERIFY(grid.view.zoomValue() < 0.45F);
    }

    void resizingKeepsTheTopItem() {
        Grid grid;
        grid.view.scrollTo(grid.at(120), QAbstractItemView::PositionAtTop);
        const int top = grid.cell(120).top();
        for (const int width : {640, 333, 560}) {
            grid.view.resize(width, 400);
            QCOMPARE(grid.cell(120).top(), top);
        }
    }

    void zoomGlidesOnlyWhenAsked() {
        Grid grid;
        grid.view.setAnimates(true);
        const int before = grid.cell(0).width();
        grid.view.setZoomValue(0.9F);
        QCOMPARE(grid.view.zoomValue(), 0.9F);
        QVERIFY(grid.cell(0).width() < before * 2);
        QTRY_VERIFY(grid.cell(0).width() > before * 3);
        grid.view.setAnimates(false);
        grid.view.setZoomValue(0.2F);
        QCOMPARE(grid.cell(0).width(), before);
    }

    void wishes() {
        Grid grid;
        const QueueScript& script = QueueScript::shared();
        QTRY_VERIFY(script.wishCount > 0);
        const int visible = int(script.visible.size());
        QCOMPARE(script.visiblePaths().first(), GridTestSource::pathOf(0));
        QVERIFY(grid.cell(visible - 1).top() < 400 && grid.cell(visible).top() >= 398);
        QCOMPARE(script.visible.front().pixelSize, int(std::ceil(97 * grid.view.devicePixelRatioF())));

        // Many moves in one turn of the event loop are one wish list: this page, the next, the one before.
        const int before = script.wishCount;
        for (int y = 900; y < 1000; y += 10)
            grid.view.verticalScrollBar()->setValue(y);
        QTRY_COMPARE(script.wishCount, before + 1);
        const int first = grid.firstVisible();
        const int page = int(script.visible.size());
        QCOMPARE(script.visiblePaths().first(), GridTestSource::pathOf(first));
        QCOMPARE(script.nearPaths().size(), qsizetype(2 * page));
        QCOMPARE(script.nearPaths().first(), GridTestSource::pathOf(first + page));
        QCOMPARE(script.nearPaths().at(page), GridTestSource::pathOf(first - 1));

        const int checks = script.checkCount;
        grid.reload([](GridTestSource&) {});
        QTRY_COMPARE(script.checkCount, checks + 1);
    }

    void anAnswerRepaintsItsCellAlone() {
        Grid grid;
        QTRY_VERIFY(QueueScript::shared().wishCount > 0);
        QTest::qWait(20);
        PaintWatch watch(grid.view.viewport());
        Thumbnail thumbnail;
        thumbnail.state = Thumbnail::State::complete;
        thumbnail.image = QImage(97, 60, QImage::Format_RGB32);
        thumbnail.image.fill(Qt::red);
        QueueScript::shared().known[GridTestSource::pathOf(1)] = thumbnail;
        Q_EMIT grid.queue.thumbnailChanged(GridTestSource::pathOf(1));
        QTRY_COMPARE(watch.painted.boundingRect(), grid.cell(1));
        watch.painted = {};
        Q_EMIT grid.queue.thumbnailChanged(GridTestSource::pathOf(1));    // nothing new
        Q_EMIT grid.queue.thumbnailChanged(GridTestSource::pathOf(290));  // out of sight
        QTest::qWait(20);
        QVERIFY(watch.painted.isEmpty());
    }

    void dragsOver() {
        Grid grid;
        Destination destination;
        QMimeData data;
        const auto enter = [&] {
            QDragEnterEvent event(QPoint(50, 50), Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton,
                                  Qt::NoModifier);
            QApplication::sendEvent(grid.view.viewport(), &event);
            return event.isAccepted() ? event.dropAction() : Qt::IgnoreAction;
        };
        QCOMPARE(enter(), Qt::IgnoreAction);
        grid.view.setDraggingDestinationDelegate(&destination);
        QCOMPARE(enter(), Qt::CopyAction);
        QDropEvent drop(QPoint(50, 50), Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton,
                        Qt::NoModifier);
        QApplication::sendEvent(grid.view.viewport(), &drop);
        QVERIFY(!drop.isAccepted());
        QCOMPARE(drop.dropAction(), Qt::IgnoreAction);
    }

    // Pressing one of the selected and moving drags them all, to be copied or linked, never moved.
    void dragsOut() {
        struct DragWatch : QObject {
            QPointer<QObject> made;  // not yet a drag when it is reported
            bool eventFilter(QObject* /*watched*/, QEvent* event) override {
                if (event->type() == QEvent::ChildAdded)
                    made = static_cast<QChildEvent*>(event)->child();
                return false;
            }
        } watch;
        Grid grid;
        grid.source.items[1]->path = QString(QStringLiteral("/p/b%1 c.jpg")).arg(QChar(0xDCFF));
        grid.view.setSelectionIndexes({1, 2}, false);
        grid.view.installEventFilter(&watch);
        QTest::mousePress(grid.view.viewport(), Qt::LeftButton, Qt::NoModifier, grid.cell(2).center());
        grid.move(grid.cell(2).center() + QPoint(60, 0));
        auto* const drag = qobject_cast<QDrag*>(watch.made);
        QVERIFY(drag);
        QCOMPARE(drag->mimeData()->data(QStringLiteral("text/uri-list")),
                 QByteArray("file:///p/b%FF%20c.jpg\r\nfile:///p/img0002.jpg\r\n"));
        QCOMPARE(drag->supportedActions(), Qt::CopyAction | Qt::LinkAction);
        QVERIFY(!drag->pixmap().isNull());
        QCOMPARE(grid.selected(), QStringLiteral("(1-2)"));
    }

    void contextMenu() {
        Grid grid;
        QSignalSpy asked(&grid.view, &ImageBrowserView::contextMenuAsked);
        grid.view.setSelectionIndexes({1, 3}, false);
        const auto ask = [&](QContextMenuEvent::Reason reason, QPoint point) {
            QContextMenuEvent event(reason, point, grid.view.viewport()->mapToGlobal(point));
            QApplication::sendEvent(grid.view.viewport(), &event);
            return grid.view.viewport()->mapFromGlobal(asked.last().first().toPoint());
        };
        QCOMPARE(ask(QContextMenuEvent::Mouse, grid.cell(3).center()), grid.cell(3).center());
        QCOMPARE(grid.selected(), QStringLiteral("(1, 3)"));
        ask(QContextMenuEvent::Mouse, grid.cell(5).center());
        QCOMPARE(grid.selected(), QStringLiteral("(5)"));
        grid.view.verticalScrollBar()->setValue(3000);
        const QPoint place = ask(QContextMenuEvent::Keyboard, QPoint(0, 0));
        QVERIFY(grid.cell(5).contains(place) && grid.view.viewport()->rect().contains(place));
    }

    void accessibility() {
        Grid grid;
        grid.view.setAccessibleName(QStringLiteral("Images"));
        grid.view.setPositionText(QStringLiteral("%1 of %2"));
        grid.view.setSelectionIndexes({1}, false);
        QAccessibleInterface* const list = QAccessible::queryAccessibleInterface(&grid.view);
        QVERIFY(list);
        QCOMPARE(list->role(), QAccessible::List);
        QCOMPARE(list->text(QAccessible::Name), QStringLiteral("Images"));
        const int visible = list->childCount();
        QVERIFY(visible > 4 && visible < 40);
        QAccessibleInterface* const cell = list->child(1);
        QCOMPARE(cell->role(), QAccessible::ListItem);
        QCOMPARE(cell->text(QAccessible::Name), QStringLiteral("img0001.jpg"));
        QCOMPARE(cell->text(QAccessible::Description), QStringLiteral("2 of 300"));
        QCOMPARE(cell->rect().size(), grid.cell(1).size());
        QVERIFY(cell->state().selected && cell->state().focused);
        QCOMPARE(list->indexOfChild(cell), 1);
        const QPoint center = cell->rect().center();
        QCOMPARE(list->childAt(center.x(), center.y()), cell);
        QVERIFY(!list->child(2)->state().selected);
        cell->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(grid.delegate.opened, std::vector<std::size_t>{1});

        grid.view.verticalScrollBar()->setValue(3000);
        QCOMPARE(list->child(0)->text(QAccessible::Name), grid.at(grid.firstVisible()).data().toString());
        QCOMPARE(list->child(visible * 2), nullptr);
    }
};

TAVLIN_TEST_MAIN(QApplication, ImageBrowserViewTest)
#include "tst_image_browser_view.moc"
