// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/ImageBrowserView.h"

#include "platform/views/GridTestParts.h"
#include "testing/TestMain.h"

#include <QApplication>

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
};

TAVLIN_TEST_MAIN(QApplication, GridLookTest)
#include "tst_grid_look.moc"
