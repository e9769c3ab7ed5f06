// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/ImageBrowserView.h"

#include "platform/views/GridTestParts.h"
#include "platform/views/GridTitles.h"
#include "testing/TestHome.h"

#include <QApplication>
#include <QHelpEvent>
#include <QTest>
#include <QToolTip>

#include <cmath>

using namespace Qt::StringLiterals;
using platform::ImageBrowserView;
using platform::Thumbnail;

namespace {

/// A board of single pixels: the least scaling or shifting by a part of a pixel greys it.
QImage makeBoard(int width, int height) {
    QImage board(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            board.setPixel(x, y, (x + y) % 2 == 0 ? qRgb(255, 0, 0) : qRgb(0, 0, 255));
    return board;
}

int countOf(const QImage& image, const QRect& area, QRgb colour) {
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            count += (image.pixel(x, y) & RGB_MASK) == (colour & RGB_MASK) ? 1 : 0;
    return count;
}

}  // namespace

/// What the pixels say. Runs at one and at two device pixels to the logical one.
class GridLookTest : public QObject {
    Q_OBJECT

    platform::ThumbnailQueue _queue;
    GridTestSource _source;
    std::unique_ptr<ImageBrowserView> _view;
    double _ratio = 1;

    QRect cell(int index) const { return _view->visualRect(_view->model()->index(index, 0)); }
    QImage grab() const { return _view->viewport()->grab().toImage().convertToFormat(QImage::Format_RGB32); }
    QRect devicePixels(const QRect& rect) const {
        return {(QPointF(rect.topLeft()) * _ratio).toPoint(), rect.size() * _ratio};
    }
    void answer(int index, const Thumbnail& thumbnail) {
        QueueScript::shared().known[GridTestSource::pathOf(index)] = thumbnail;
        Q_EMIT _queue.thumbnailChanged(GridTestSource::pathOf(index));
    }
    int wantedPixels() const { return QueueScript::shared().visible.front().pixelSize; }

 private Q_SLOTS:
    void titles_data() {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("lines");
        QTest::newRow("short") << QStringLiteral("a.jpg") << QStringLiteral("a.jpg");
        QTest::newRow("words") << QStringLiteral("aaaaa bbbbb.jpg") << QStringLiteral("aaaaa|bbbbb.jpg");
        QTest::newRow("extension") << QStringLiteral("aaaaaaaaa.jpg") << QStringLiteral("aaaaaaaaa|.jpg");
        QTest::newRow("long") << QStringLiteral("aaaaa ") + QString(2000, u'b') + QStringLiteral(".jpg")
                              << QStringLiteral("aaaaa|bbbb\u2026.jpg");
    }
    void titles() {
        QFETCH(QString, title);
        platform::GridTitles titles;
        QFont font(QStringLiteral("monospace"));
        font.setFixedPitch(true);
        titles.setFormat(font, 9 * QFontMetrics(font).horizontalAdvance(u'a') + 2, 2);
        QTEST(titles.lines(title).join(u'|'), "lines");
    }

    void init() {
        QueueScript::shared() = {};
        _source.items.clear();
        _source.fill(12);
        _view = std::make_unique<ImageBrowserView>();
        _view->setAnimates(false);
        _view->setDataSource(&_source);
        _view->setThumbnailQueue(&_queue);
        _view->resize(600, 400);
        _view->setZoomValue(0.3F);
        _view->reloadData();
        _view->show();
        QVERIFY(QTest::qWaitForWindowExposed(_view.get()));
        QTRY_VERIFY(QueueScript::shared().wishCount > 0);
        _ratio = _view->devicePixelRatioF();
    }
    void cleanup() { _view.reset(); }

    // Wanted at the screen's own pixels and drawn pixel for pixel, for odd and even sizes.
    void thumbnailsAreSharp() {
        for (const auto& [aspect, rightToLeft] :
             {std::pair(0.66, false), {1.37, false}, {1.0, false}, {0.71, true}}) {
            _view->setLayoutDirection(rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
            QCOMPARE(wantedPixels(), int(std::ceil(119 * _ratio)));
            Thumbnail thumbnail;
            thumbnail.state = Thumbnail::State::complete;
            thumbnail.image = aspect < 1 ? makeBoard(wantedPixels(), int(wantedPixels() * aspect))
                                         : makeBoard(int(wantedPixels() / aspect), wantedPixels());
            answer(1, thumbnail);
            const QImage image = grab();
            const int pixels = thumbnail.image.width() * thumbnail.image.height();
            const QRect area = devicePixels(cell(1));
            QCOMPARE(countOf(image, area, qRgb(255, 0, 0)), (pixels + 1) / 2);
            QCOMPARE(countOf(image, area, qRgb(0, 0, 255)), pixels / 2);
            QCOMPARE(cell(1).left() < cell(0).left(), rightToLeft);
        }
    }

    // A coarse preview and an earlier zoom's thumbnail fill the square; a picture that is small by itself
    // stays at its own size.
    void sizes() {
        Thumbnail thumbnail;
        thumbnail.image = QImage(20, 20, QImage::Format_RGB32);
        thumbnail.image.fill(Qt::red);
        const int side = wantedPixels();
        thumbnail.state = Thumbnail::State::preview;
        answer(1, thumbnail);
        QVERIFY(countOf(grab(), devicePixels(cell(1)), qRgb(255, 0, 0)) > side * side * 9 / 10);
        thumbnail.state = Thumbnail::State::complete;
        answer(1, thumbnail);
        QCOMPARE(countOf(grab(), devicePixels(cell(1)), qRgb(255, 0, 0)), 400);
        _view->setZoomValue(0.6F);
        QTRY_VERIFY(wantedPixels() > side);
        QCOMPARE(countOf(grab(), devicePixels(cell(1)), qRgb(255, 0, 0)), 400);

        thumbnail.image = QImage(side, side, QImage::Format_RGB32);
        thumbnail.image.fill(Qt::green);
        QueueScript::shared().known[GridTestSource::pathOf(0)] = thumbnail;
        const int larger = wantedPixels();
        QVERIFY(countOf(grab(), devicePixels(cell(0)), qRgb(0, 255, 0)) > larger * larger * 9 / 10);
    }

    void iconsAndBrokenPictures() {
        QStringList asked;
        _view->setIconProvider([&](const QString& path) {
            asked += path;
            QPixmap pixmap(256, 256);
            pixmap.fill(Qt::magenta);
            return QIcon(pixmap);
        });
        Thumbnail thumbnail;
        thumbnail.state = Thumbnail::State::notImage;
        answer(2, thumbnail);
        QVERIFY(countOf(grab(), devicePixels(cell(2)), qRgb(255, 0, 255)) > 1000);
        grab();
        QCOMPARE(asked, QStringList{GridTestSource::pathOf(2)});

        const QImage before = grab();
        thumbnail.state = Thumbnail::State::failed;
        thumbnail.failure = u"Not a JPEG file"_s;
        answer(3, thumbnail);
        QVERIFY(grab().copy(devicePixels(cell(3))) != before.copy(devicePixels(cell(3))));
        const QPoint center = cell(3).center();
        QHelpEvent help(QEvent::ToolTip, center, _view->viewport()->mapToGlobal(center));
        QApplication::sendEvent(_view->viewport(), &help);
        QVERIFY(QToolTip::text().contains(u"Not a JPEG file"));
    }

    void selectionFollowsThePalette() {
        QPalette palette = _view->palette();
        palette.setColor(QPalette::Highlight, Qt::yellow);
        palette.setColor(QPalette::Base, Qt::black);
        palette.setColor(QPalette::Text, Qt::white);
        _view->setPalette(palette);
        _view->viewport()->setPalette(palette);
        QCOMPARE(countOf(grab(), devicePixels(cell(1)), qRgb(255, 255, 0)), 0);
        _view->setSelectionIndexes({1}, false);
        QVERIFY(countOf(grab(), devicePixels(cell(1)), qRgb(255, 255, 0)) > 100);
        QCOMPARE(countOf(grab(), devicePixels(cell(2)), qRgb(255, 255, 0)), 0);
    }

    // A longer load dims what is shown and takes nothing away; a short one shows nothing of itself.
    void loadingDims() {
        const QImage before = grab();
        _view->setLoading(true);
        QCOMPARE(grab(), before);
        QTRY_VERIFY(grab() != before);
        QCOMPARE(_view->model()->rowCount(), 12);
        _view->setLoading(false);
        QCOMPARE(grab(), before);
    }

    void anEmptyFolderSaysSo() {
        _view->setEmptyText(u"Nothing here"_s);
        const QImage full = grab();
        _view->prepareForReload();
        _source.items.clear();
        _view->reloadData();
        const QImage empty = grab();
        QVERIFY(empty != full);
        const QRect middle =
            QRect(empty.width() / 4, empty.height() / 3, empty.width() / 2, empty.height() / 3);
        const QRgb base = _view->palette().color(QPalette::Base).rgb();
        QVERIFY(countOf(empty, middle, base) < middle.width() * middle.height());
        QCOMPARE(countOf(empty, QRect(0, 0, empty.width(), empty.height() / 3), base),
                 empty.width() * (empty.height() / 3));
    }
};

TAVLIN_TEST_MAIN(QApplication, GridLookTest)
#include "tst_grid_look.moc"
