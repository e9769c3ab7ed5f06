// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/TileCache.h"
#include "platform/views/ImageView.h"
#include "testing/AnimatedGif.h"
#include "testing/TestFiles.h"
#include "testing/TestMain.h"
#include "testing/TiledTiff.h"

#include <QApplication>
#include <QNativeGestureEvent>
#include <QPointingDevice>
#include <QSignalSpy>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;
using namespace platform;

namespace {

/// Colours that tell every place from its neighbours.
QImage pattern(QSize size) {
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, qRgb(x % 256, y % 256, (x / 256 * 16 + y / 256) % 256));
    }
    return image;
}

std::size_t shownTiles(const ImageView& view) {
    const PictureGeometry& geometry = view.pictureGeometry();
    return view.tiles()->grid().tilesIn(geometry.shownPart(), TileGrid::levelOf(geometry.scale())).size();
}

/// A shown view of this file.
struct ShownView : ImageView {
    ShownView(QSize size, const QString& path) {
        resize(size);
        show();
        setImageWithPath(path);
    }
};

bool isIdle(const ImageView& view) {
    return view.tiles() && view.tiles()->isIdle() && view.tiles()->decodes() > 0;
}

}  // namespace

/// The picture view and its tiles, with real decoders.
class ImageViewTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() {
        DecoderProcess::setInstalledProgram(
            QStringLiteral(TAVLIN_BUILD_DIR "/libexec/tavlin/tavlin-decoder"));
    }

    void levels() {
        for (const auto& [scale, level] :
             {std::pair(8.0, 0), {1.0, 0}, {0.51, 0}, {0.5, 1}, {0.25, 2}, {0.1, 3}, {1e-9, 20}})
            QCOMPARE(TileGrid::levelOf(scale), level);
    }

    /// Each place of the picture in one tile, the nearest to the middle first.
    void tilesCoverThePicture() {
        const TileGrid grid(QSize(3001, 1999));
        for (int level = 0; level < 4; ++level) {
            QRegion covered;
            double last = -1;
            for (const TilePlace& place : grid.tilesIn(QRectF(0, 0, 3001, 1999), level)) {
                const QRect area = grid.areaOf(place);
                QVERIFY(!covered.intersects(area));
                covered += area;
                const QPointF away = QRectF(area).center() - QPointF(1500.5, 999.5);
                const double distance = QPointF::dotProduct(away, away);
                QVERIFY(distance >= last);
                last = distance;
            }
            QCOMPARE(covered, QRegion(0, 0, 3001, 1999));
        }
    }

    void cacheStaysWithinItsBound() {
        QImage tile(16, 16, QImage::Format_RGB32);
        tile.fill(Qt::red);
        const qsizetype bytes = tile.sizeInBytes();
        TileCache cache(4 * bytes);
        const auto picture = cache.newPicture();
        const auto other = cache.newPicture();
        cache.setShown(picture, {{0, 0, 0}, {0, 1, 0}});
        for (int column = 0; column < 10; ++column) {
            cache.insert({picture, {0, column, 0}}, tile);
            QVERIFY(cache.bytes() <= cache.bound());
            QVERIFY(!cache.find({picture, {0, std::min(column, 1), 0}}).isNull());
        }
        QVERIFY(cache.contains({picture, {0, 0, 0}}));  // not used for long, but shown
        QVERIFY(cache.contains({picture, {0, 9, 0}}) && !cache.contains({picture, {0, 5, 0}}));
        cache.insert({other, {0, 0, 0}}, tile);
        cache.forget(picture);
        QCOMPARE(cache.bytes(), bytes);
    }

    void exactPixels_data() {
        QTest::addColumn<QString>("name");
        for (const char* name : {"a.png", "a.tif"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }
    /// At the exact scale each pixel of the file is one of the device; each tile is decoded once.
    void exactPixels() {
        QFETCH(QString, name);
        const QImage picture = pattern({2600, 1900});
        const QString path = _folder.filePath(name);
        if (name.endsWith(u"tif"_s))
            writeFile(path, testPictures::tiledTiff(picture));
        else
            QVERIFY(picture.save(path, "png", 90));
        ShownView view({700, 500}, path);
        QTRY_COMPARE_WITH_TIMEOUT(view.image().width(), int(std::lround(700 * view.devicePixelRatioF())),
                                  20'000);
        QVERIFY2(!view.tiles(), "the whole picture has all that is shown");
        QTest::keyClick(&view, Qt::Key_1);
        for (const int key : {Qt::Key_Left, Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Right})
            QTest::keyClick(&view, Qt::Key(key));
        QTRY_VERIFY_WITH_TIMEOUT(isIdle(view), 20'000);
        QImage shown = view.grab().toImage();
        shown.setDevicePixelRatio(1);
        const QPoint at = view.pictureGeometry().shownPart().topLeft().toPoint();
        QCOMPARE(shown.size(), view.pictureGeometry().viewSize());
        QCOMPARE(shown.convertToFormat(QImage::Format_RGB32), picture.copy(QRect(at, shown.size())));

        const int decodes = view.tiles()->decodes();
        QVERIFY(decodes >= int(shownTiles(view)));
        const qint64 composed = view.canvas().composedPixels();
        QTest::keyClick(&view, Qt::Key_Up);  // back to tiles that are there
        view.grab();
        QTRY_VERIFY_WITH_TIMEOUT(isIdle(view), 20'000);
        const qint64 viewPixels = qint64(shown.width()) * shown.height();
        QVERIFY2(view.canvas().composedPixels() - composed < viewPixels, "panning composes what is new only");
        QVERIFY(view.tiles()->decodes() <= 6 * 4);  // each at most once
        QVERIFY(TileCache::shared().bytes() <= TileCache::shared().bound());
    }

    /// Around the picture, at once.
    void anotherPalette() {
        const QString path = _folder.filePath(u"small.png"_s);
        QVERIFY(pattern({20, 20}).save(path));
        ShownView view({200, 200}, path);
        QTRY_VERIFY_WITH_TIMEOUT(view.canvas().composedPixels() > 0 && !view.image().isNull(), 20'000);
        const QRgb before = view.grab().toImage().pixel(2, 2);
        view.setPalette(QPalette(Qt::darkGreen));
        QVERIFY(view.grab().toImage().pixel(2, 2) != before);
    }

    /// What is under the fingers stays there.
    void pinch() {
        const QString path = _folder.filePath(u"pinch.png"_s);
        QVERIFY(pattern({2600, 1900}).save(path, "png", 90));
        ShownView view({700, 500}, path);
        QTRY_VERIFY_WITH_TIMEOUT(!view.image().isNull(), 20'000);
        const QPointF fingers(200, 150);
        const auto under = [&] {
            const PictureGeometry& geometry = view.pictureGeometry();
            return (fingers * view.devicePixelRatioF() - geometry.pictureRect().topLeft()) / geometry.scale();
        };
        const QPointF before = under();
        const double scale = view.pictureGeometry().scale();
        const auto* device = QPointingDevice::primaryPointingDevice();
        QNativeGestureEvent event(Qt::ZoomNativeGesture, device, 2, fingers, fingers, fingers, 0.6, {});
        QApplication::sendEvent(&view, &event);
        QCOMPARE(view.pictureGeometry().scale(), scale * 1.6);
        QVERIFY((under() - before).manhattanLength() < 4);
    }

    /// A gigapixel picture: the whole first, then few tiles at any zoom.
    void gigapixels() {
        const QString path = _folder.filePath(u"giga.tif"_s);
        testPictures::writeSparsePyramid(path, 100'000);
        {
            ShownView view({600, 400}, path);
            QTRY_COMPARE_WITH_TIMEOUT(view.pictureGeometry().pictureSize(), QSize(100'000, 100'000), 20'000);
            QTRY_VERIFY_WITH_TIMEOUT(!view.image().isNull(), 20'000);
            for (int notch = 0; view.pictureGeometry().scale() < 1; ++notch) {
                QVERIFY(notch < 40);
                QWheelEvent wheel(QPointF(0, 0), QPointF(0, 0), {}, QPoint(0, 120), Qt::NoButton,
                                  Qt::NoModifier, Qt::NoScrollPhase, false);
                QApplication::sendEvent(&view, &wheel);
            }
            QTRY_VERIFY_WITH_TIMEOUT(isIdle(view), 20'000);
            QVERIFY(view.pictureGeometry().shownPart().topLeft() == QPointF(0, 0));
            const QImage shown = view.grab().toImage();
            QCOMPARE(QColor(shown.pixel(10, 10)), QColor(200, 100, 50));
            QCOMPARE(QColor(shown.pixel(300, 10)), QColor(0, 0, 0));
            QVERIFY(view.tiles()->decodes() < 100);
            QVERIFY(TileCache::shared().bytes() > 0);
        }
        QCOMPARE(TileCache::shared().bytes(), 0);
    }

    /// By itself while it can be seen, and to its end.
    void animation() {
        const QString path = _folder.filePath(u"moves.gif"_s);
        writeFile(path, testPictures::animatedGif({2, 1}, {2, 30, 2}, 1));
        ImageView view;
        view.setImageWithPath(path);
        QTRY_VERIFY_WITH_TIMEOUT(view.animation(), 20'000);
        QCOMPARE(view.animation()->requests(), 0);  // hidden
        for (int step = 0; step < 20; ++step)
            view.zoomIn();
        QList<QRgb> colours;
        connect(view.animation(), &PictureAnimation::frameChanged, this, [&] {
            const QImage shown = view.grab().toImage();
            colours += shown.pixel(shown.rect().center());
            if (colours.size() == 2)
                view.hide();
        });
        QSignalSpy changes(view.animation(), &PictureAnimation::frameChanged);
        view.show();
        QTRY_COMPARE_WITH_TIMEOUT(colours.size(), 2, 20'000);
        QVERIFY(!changes.wait(400));  // longer than the frame is shown
        QCOMPARE(view.animation()->requests(), 3);
        view.show();
        QTRY_VERIFY_WITH_TIMEOUT(view.animation()->hasEnded(), 20'000);
        const QList<QRgb> once{0xffff0000, 0xff00ff00, 0xff0000ff};
        QCOMPARE(colours, once + once);
        QCOMPARE(view.animation()->requests(), 6);
        QVERIFY(!view.tiles());
    }

 private:
    QTemporaryDir _folder;
};

TAVLIN_TEST_MAIN(QApplication, ImageViewTest)
#include "tst_image_view.moc"
