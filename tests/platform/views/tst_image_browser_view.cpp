// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/ImageBrowserView.h"

#include "platform/views/GridTestParts.h"
#include "testing/TestHome.h"

#include <QAbstractItemModelTester>
#include <QAccessible>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDrag>
#include <QLoggingCategory>
#include <QMimeData>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;
using platform::ImageBrowserView;
using platform::Thumbnail;

namespace {

/// Items or keys, each with the modifiers that are held.
using Presses = QList<QPair<int, int>>;

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
        grid.reload([](GridTestSource& source) { source.insertAt(0, u"/p/a\nb.jpg"_s); });
        QCOMPARE(grid.view.model()->rowCount(), 251);
        QCOMPARE(grid.at(0).data().toString(), u"a b.jpg"_s);
        grid.reload([](GridTestSource& source) { source.items.clear(); });
        QCOMPARE(grid.view.model()->rowCount(), 0);
    }

    void aFailingDataSourceEndsNothing() {
        QLoggingCategory::setFilterRules(u"tavlin.guard=false"_s);
        Grid grid;
        grid.source.items.resize(2);  // the list has changed and the grid was not told
        grid.view.viewport()->repaint();
        QCOMPARE(grid.at(7).data().toString(), QString());
        grid.view.setDataSource(nullptr);
        QCOMPARE(grid.view.model()->rowCount(), 0);
        QLoggingCategory::setFilterRules({});
    }

    void clicks() {
        Grid grid;
        const auto selectedAfter = [&](int index, Qt::KeyboardModifiers modifiers) {
            grid.click(index, modifiers);
            return grid.selected();
        };
        QCOMPARE(selectedAfter(0, Qt::NoModifier), u"(0)"_s);
        QCOMPARE(selectedAfter(3, Qt::ControlModifier), u"(0, 3)"_s);
        QCOMPARE(selectedAfter(5, Qt::ControlModifier | Qt::ShiftModifier), u"(0, 3-5)"_s);
        QCOMPARE(selectedAfter(0, Qt::ControlModifier), u"(3-5)"_s);
        QCOMPARE(selectedAfter(6, Qt::NoModifier), u"(6)"_s);
        QCOMPARE(selectedAfter(2, Qt::ShiftModifier), u"(2-6)"_s);
        QCOMPARE(grid.current(), 2);
        QVERIFY(grid.delegate.selectionChanges >= 6);
    }

    void keys_data() {
        QTest::addColumn<Presses>("keys");
        QTest::addColumn<QString>("selected");
        QTest::addColumn<int>("current");
        const int none = Qt::NoModifier;
        const int control = Qt::ControlModifier;
        const int shift = Qt::ShiftModifier;
        // From item 6 on, four columns.
        QTest::newRow("right") << Presses{{Qt::Key_Right, none}} << u"(7)"_s << 7;
        QTest::newRow("down") << Presses{{Qt::Key_Down, none}} << u"(10)"_s << 10;
        QTest::newRow("extend and shrink")
            << Presses{{Qt::Key_Down, shift}, {Qt::Key_Down, shift}, {Qt::Key_Up, shift}} << u"(6-10)"_s
            << 10;
        QTest::newRow("walk and pick")
            << Presses{{Qt::Key_Right, control}, {Qt::Key_Right, control}, {Qt::Key_Space, control}}
            << u"(6, 8)"_s << 8;
        QTest::newRow("home") << Presses{{Qt::Key_Home, shift}} << u"(0-6)"_s << 0;
        QTest::newRow("end") << Presses{{Qt::Key_End, none}} << u"(299)"_s << 299;
        QTest::newRow("all") << Presses{{Qt::Key_A, control}} << u"(0-299)"_s << 6;
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
        QCOMPARE(grid.delegate.selectionsWhenOpened, QStringList{u"(1, 3, 5)"_s});
        QTest::qWait(QApplication::doubleClickInterval() + 50);  // nothing narrows it afterwards
        QCOMPARE(grid.selected(), u"(1, 3, 5)"_s);
        grid.doubleClick(7);
        QCOMPARE(grid.delegate.selectionsWhenOpened.last(), u"(7)"_s);
        grid.key(Qt::Key_Return);
        QCOMPARE(grid.delegate.opened, (std::vector<std::size_t>{3, 7, 7}));
    }

    void aClickOnOneOfSeveralNarrowsLate() {
        Grid grid;
        grid.view.setSelectionIndexes({1, 3, 5}, false);
        grid.click(3);
        QCOMPARE(grid.selected(), u"(1, 3, 5)"_s);
        QTRY_COMPARE_WITH_TIMEOUT(grid.selected(), u"(3)"_s, 1000);
        // What acts on the selection meanwhile acts on what the user has in mind.
        grid.view.setSelectionIndexes({1, 3, 5}, false);
        grid.click(5);
        grid.view.removeSelectedItems();
        QCOMPARE(grid.delegate.removed, QStringList{u"(5)"_s});
    }

    void rubberBand() {
        for (const auto& [modifier, selected] : {std::pair(Qt::NoModifier, u"(5-6, 9-10)"_s),
                                                 {Qt::ShiftModifier, u"(0, 5-6, 9-10)"_s},
                                                 {Qt::ControlModifier, u"(0, 5, 9-10)"_s}}) {
            Grid grid;
            grid.view.setSelectionIndexes({0, 6}, false);
            QWidget* const viewport = grid.view.viewport();
            QTest::mousePress(viewport, Qt::LeftButton, modifier, grid.cell(5).topLeft() - QPoint(3, 3));
            grid.move(grid.cell(11).center());
            grid.move(grid.cell(10).center());
            QCOMPARE(grid.selected(), selected);
            QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, grid.cell(10).center());
            QCOMPARE(grid.selected(), selected);
        }
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
        QCOMPARE(grid.selected(), u"(2)"_s);
    }

    void typeAhead() {
        Grid grid;
        for (const int i : {40, 80, 120})
            grid.source.items[std::size_t(i)]->path = u"/p/Zoo%1.jpg"_s.arg(i);
        grid.source.items[200]->path = u"/p/zeb ra.jpg"_s;
        grid.view.reloadData();
        QTest::keyClicks(&grid.view, u"z"_s);
        QCOMPARE(grid.selected(), u"(40)"_s);
        QTest::keyClicks(&grid.view, u"z"_s);
        QCOMPARE(grid.current(), 80);
        QTest::qWait(QApplication::keyboardInputInterval() + 50);  // a new word begins
        QTest::keyClicks(&grid.view, u"zeb r"_s);
        QCOMPARE(grid.selected(), u"(200)"_s);
        QVERIFY(grid.view.viewport()->rect().contains(grid.cell(200)));
    }

    void typeAheadOverAMillionHoldsNothingUp() {
        Grid grid(1'000'000);
        grid.source.items.back()->path = u"/p/last.jpg"_s;
        QElapsedTimer clock;
        clock.start();
        QTest::keyClicks(&grid.view, u"l"_s);
        QVERIFY2(clock.elapsed() < 50, qPrintable(QString::number(clock.elapsed())));
        QTRY_COMPARE(grid.current(), 999'999);
    }

    void reloadKeepsWhatStays() {
        struct Case {
            int removeFirst, removeCount;
            QString selected;
            int current;
        };
        for (const auto& [removeFirst, removeCount, selected, current] :
             {Case{0, 0, u"(100, 102, 140)"_s, 102}, Case{0, 8, u"(92, 94, 132)"_s, 94},
              Case{102, 1, u"(100, 139)"_s, 102}, Case{100, 60, u"()"_s, 100}, Case{100, 200, u"()"_s, 99}}) {
            Grid grid;
            grid.view.setSelectionIndexes({100, 102, 140}, false);
            grid.view.setCurrentIndex(grid.at(102));
            QSignalSpy counts(&grid.view, &ImageBrowserView::selectionCountChanged);
            grid.reload([first = removeFirst, count = removeCount](GridTestSource& source) {
                source.remove(first, count);
            });
            QCOMPARE(grid.selected(), selected);
            QCOMPARE(grid.current(), current);
            QCOMPARE(counts.count(), selected.count(u',') == 2 ? 0 : 1);
        }
    }

    void anItemMadeAnewIsAnother() {
        Grid grid;
        grid.view.setSelectionIndexes({3}, false);
        // The same file in another object, most likely at the very address of the first.
        grid.reload([](GridTestSource& source) {
            source.items[3].reset();
            source.items[3] = std::make_unique<GridTestItem>(GridTestSource::pathOf(3));
        });
        QCOMPARE(grid.selected(), u"()"_s);
    }

    void reloadKeepsThePlace() {
        Grid grid;
        grid.view.scrollTo(grid.at(160), QAbstractItemView::PositionAtTop);
        const int y = grid.cell(160).top();
        grid.reload([](GridTestSource& source) {
            for (int i = 0; i < 8; ++i)
                source.insertAt(0, u"/p/new%1.jpg"_s.arg(i));
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
            source.items[5] = std::make_unique<GridTestItem>(u"/p/else.jpg"_s);
        });
        QTRY_COMPARE(watch.painted.boundingRect(), grid.cell(5));
        watch.painted = {};
        grid.reload([](GridTestSource& source) { source.insertAt(290, u"/p/far.jpg"_s); });
        QTest::qWait(20);
        QVERIFY(watch.painted.isEmpty());
    }

    void zoomAndSizeKeepTheirAnchor() {
        Grid grid;
        grid.view.verticalScrollBar()->setValue(1000);
        const int first = grid.firstVisible();
        const int top = grid.cell(first).top();
        for (const float zoom : {0.3F, 0.5F, 0.25F, 0.8F, 0.2F})
            grid.view.setZoomValue(zoom);
        QCOMPARE(grid.cell(first).top(), top);
        for (const int width : {640, 333, 560}) {
            grid.view.resize(width, 400);
            QCOMPARE(grid.cell(first).top(), top);
        }

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
        grid.source.items[1]->path = QString(u"/p/b%1 c.jpg"_s).arg(QChar(0xDCFF));
        grid.view.setSelectionIndexes({1, 2}, false);
        grid.view.installEventFilter(&watch);
        QTest::mousePress(grid.view.viewport(), Qt::LeftButton, Qt::NoModifier, grid.cell(2).center());
        grid.move(grid.cell(2).center() + QPoint(60, 0));
        auto* const drag = qobject_cast<QDrag*>(watch.made);
        QVERIFY(drag);
        QCOMPARE(drag->mimeData()->data(u"text/uri-list"_s),
                 QByteArray("file:///p/b%FF%20c.jpg\r\nfile:///p/img0002.jpg\r\n"));
        QCOMPARE(drag->supportedActions(), Qt::CopyAction | Qt::LinkAction);
        QVERIFY(!drag->pixmap().isNull());
        QCOMPARE(grid.selected(), u"(1-2)"_s);
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
        QCOMPARE(grid.selected(), u"(1, 3)"_s);
        ask(QContextMenuEvent::Mouse, grid.cell(5).center());
        QCOMPARE(grid.selected(), u"(5)"_s);
        grid.view.verticalScrollBar()->setValue(3000);
        const QPoint place = ask(QContextMenuEvent::Keyboard, QPoint(0, 0));
        QVERIFY(grid.cell(5).contains(place) && grid.view.viewport()->rect().contains(place));
    }

    // Names, roles and places are those that the journeys go by.
    void accessibility() {
        Grid grid;
        grid.view.setPositionText(u"%1 of %2"_s);
        grid.view.setSelectionIndexes({1}, false);
        QAccessibleInterface* const list = QAccessible::queryAccessibleInterface(&grid.view);
        const int visible = list->childCount();
        QVERIFY(visible > 4 && visible < 40);
        QAccessibleInterface* const cell = list->child(1);
        QCOMPARE(cell->text(QAccessible::Description), u"2 of 300"_s);
        QVERIFY(cell->state().selected && cell->state().focused);
        QVERIFY(!list->child(2)->state().selected);
        QCOMPARE(list->indexOfChild(cell), 1);
        const QPoint center = cell->rect().center();
        QCOMPARE(list->childAt(center.x(), center.y()), cell);
        cell->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(grid.delegate.opened, std::vector<std::size_t>{1});

        grid.view.verticalScrollBar()->setValue(3000);
        QCOMPARE(list->child(0)->text(QAccessible::Name), grid.at(grid.firstVisible()).data().toString());
        QCOMPARE(list->child(visible * 2), nullptr);
    }
};

TAVLIN_TEST_MAIN(QApplication, ImageBrowserViewTest)
#include "tst_image_browser_view.moc"
