// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Decoding.h"
#include "decoder/Finish.h"
#include "decoder/InputDevice.h"
#include "decoder/regions/PngRegions.h"
#include "decoder/regions/RegionSource.h"

#include "CommonRole.h"
#include "testing/TestMain.h"
#include "testing/TiledTiff.h"
#include "TestPictures.h"

#include <QColorSpace>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace decoder;
using namespace testPictures;

namespace {

constexpr QSize kSize(1301, 907);

/// Colours that tell every place from its neighbours, soft enough for lossy packing.
QImage pattern(QSize size = kSize) {
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y,
                           qRgb(x * 255 / size.width(), y * 255 / size.height(), (x / 8 + y / 8) % 200));
    }
    return image;
}

QImage askedOf(int file, RequestKind kind, QRect region = {}, int level = 0, QRect interest = {}) {
    Request request;
    request.kind = kind;
    request.pixelSize = 2048;
    request.level = level;
    request.region = {region.x(), region.y(), region.width(), region.height()};
    const QRect more = interest.isNull() ? region : interest;
    request.interest = {more.x(), more.y(), more.width(), more.height()};
    const Result result = decode(request, file);
    const auto* picture = std::get_if<Picture>(&result);
    return picture ? picture->image : QImage();
}

/// The greatest and the mean difference of any channel, both of 32 bits a pixel.
std::pair<int, double> difference(const QImage& left, const QImage& right) {
    int greatest = 0;
    qint64 sum = 0;
    for (int y = 0; y < left.height(); ++y) {
        const uchar* a = left.constScanLine(y);
        const uchar* b = right.constScanLine(y);
        for (int x = 0; x < left.width(); ++x, a += 4, b += 4) {
            const int worst = std::max(
                {std::abs(a[0] - b[0]), std::abs(a[1] - b[1]), std::abs(a[2] - b[2]), std::abs(a[3] - b[3])});
            greatest = std::max(greatest, worst);
            sum += worst;
        }
    }
    return {greatest, double(sum) / (left.width() * left.height())};
}

}  // namespace

/// Regions of pictures, against the same places of the pictures decoded whole.
class RegionsTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() { QVERIFY(prepareCommonRole()); }

    void sameAsWhole_data() {
        const Table<QByteArray, int> columns("bytes", "tolerance");
        const auto row = [](const char* name, const QByteArray& bytes, int tolerance = 0) {
            QTest::newRow(name) << bytes << tolerance;
        };
        const auto patternAs = [](QImage::Format format) {
            return pattern().convertToFormat(format);
        };
        const QByteArray jpeg = written(pattern(), "jpeg", 90);
        for (int orientation = 1; orientation <= 8; ++orientation)
            row(qPrintable(u"jpeg %1"_s.arg(orientation)), withExifInJpeg(jpeg, exifBlock(orientation)));
        row("png, turned", withExifInPng(written(pattern(), "png"), exifBlock(6)));
        row("tiff in tiles", tiledTiff(pattern()));
        row("tiff in tiles, turned", tiledTiff(pattern(), {5}));
        QImage clear = patternAs(QImage::Format_ARGB32);
        for (int y = 100; y < 600; ++y)
            clear.setPixel(y, y, qRgba(200, 20, 10, 90));
        row("png, see-through", written(clear, "png"));
        QImage wide = patternAs(QImage::Format_RGBX64);
        wide.setColorSpace(QColorSpace::AdobeRgb);
        row("tiff of 16 bits, wide gamut", tiledTiff(wide), 1);
        row("tiff in strips", written(pattern(), "tiff"));
        row("tiff of indexes", written(patternAs(QImage::Format_Indexed8), "tiff"));
        row("tiff of greys", written(patternAs(QImage::Format_Grayscale8), "tiff"));
        QImage tagged = pattern();
        tagged.setColorSpace(QColorSpace::DisplayP3);
        row("jpeg, wide gamut", written(tagged, "jpeg", 90));
        row("webp", written(pattern(), "webp", 100));
    }
    void sameAsWhole() {
        QFETCH(QByteArray, bytes);
        QFETCH(int, tolerance);
        const TestFile file(bytes);
        const QImage whole = askedOf(file.handle(), RequestKind::thumbnail);
        const QRect all = whole.rect();
        for (const QRect& place : {QRect(0, 0, 512, 512), QRect(395, 0, 512, 512), QRect(300, 513, 200, 300),
                                   QRect(all.width() - 37, all.height() - 129, 37, 129), QRect(1, 1, 1, 1)}) {
            const QImage region = askedOf(file.handle(), RequestKind::region, place);
            QCOMPARE(region.size(), place.size());
            QVERIFY(difference(region, whole.copy(place)).first <= tolerance);
        }
        for (int level = 1; level <= 4; ++level) {
            const int unit = 1 << level;
            const QRect place(4 * unit, 2 * unit, all.width() - 4 * unit, all.height() - 2 * unit);
            const QImage region = askedOf(file.handle(), RequestKind::region, place, level);
            QCOMPARE(region.size(),
                     QSize((place.width() + unit - 1) / unit, (place.height() + unit - 1) / unit));
            const QImage expected =
                whole.copy(place).scaled(region.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            QVERIFY(difference(region, expected).second < 6);
        }
        QVERIFY(askedOf(file.handle(), RequestKind::region, QRect(all.right(), 0, 2, 1)).isNull());
    }

    /// What the data does not reach is no picture, grey as the library makes it up; what it reaches is.
    void cutShort() {
        const QByteArray bytes = written(pattern(), "jpeg", 90);
        TestFile file(bytes);
        const QRect above(0, 0, 300, 300);
        const QRect below(0, 600, 300, 300);
        const QImage before = askedOf(file.handle(), RequestKind::region, above);
        QVERIFY(!before.isNull() && !askedOf(file.handle(), RequestKind::region, below).isNull());
        QVERIFY(file.resize(bytes.size() / 2));
        QCOMPARE(askedOf(file.handle(), RequestKind::region, above), before);
        QVERIFY(askedOf(file.handle(), RequestKind::region, below).isNull());
        QVERIFY(file.resize(0) && file.write(bytes.first(bytes.size() - 2)) > 0 && file.flush());
        QVERIFY2(!askedOf(file.handle(), RequestKind::region, QRect(1000, 600, 301, 307)).isNull(),
                 "only the end's mark is missing");
    }

    /// The last column and row of every level, where a pyramid's writer has rounded its sides down.
    void oddSidesOfPyramid() {
        QImage edged = pattern();
        for (int y = 0; y < edged.height(); ++y)
            edged.setPixel(edged.width() - 1, y, qRgb(255, 0, 255));
        const TestFile file(tiledTiff(edged, {1, 3}));
        for (int level = 0; level <= 5; ++level) {
            const int side = 64 << level;
            const QPoint at(kSize.width() / side * side, kSize.height() / side * side);
            const QRect place(at, edged.rect().bottomRight());
            const QImage region = askedOf(file.handle(), RequestKind::region, place, level);
            QCOMPARE(region.size(), sizeAtLevel(place.size(), level));
            const int x = (region.width() - 1) << level;  // of the last pixel's first column
            const double columns = place.width() - x;
            const int y = (region.height() / 2) << level;
            const QColor expected = edged.pixelColor(place.left() + x / 2, place.top() + y);
            const QColor last = region.pixelColor(region.width() - 1, region.height() / 2);
            const double most = expected.green() * (columns - 1) / columns + 16;
            QVERIFY2(last.green() <= most, qPrintable(QString::number(level)));
        }
    }

    /// Rows as libpng gives them are what the toolkit makes of the file.
    void rowsOfPng() {
        for (const QImage::Format format :
             {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_RGBX64, QImage::Format_RGBA64,
              QImage::Format_Indexed8, QImage::Format_Grayscale8, QImage::Format_Mono}) {
            QImage image = pattern().convertToFormat(format);
            for (int x = 0; image.hasAlphaChannel() && x < 400; ++x)
                image.setPixelColor(x, x, QColor(200, 20, 10, 90));
            image.setColorSpace(format == QImage::Format_RGBX64 ? QColorSpace::AdobeRgb : QColorSpace::SRgb);
            const TestFile file(written(image, "png"));
            InputDevice device(file.handle());
            const auto regions = openPngRegions(device, QImageIOHandler::TransformationRotate270);
            for (const int side : {2048, 300}) {
                const Result rows =
                    finish(regions->whole(device, side), kSize, regions->transformation(), side);
                const Result expected =
                    finish(QImage(file.fileName(), "png"), kSize, regions->transformation(), side);
                const auto [greatest, mean] =
                    difference(std::get<Picture>(rows).image, std::get<Picture>(expected).image);
                QVERIFY2(side == 2048 ? greatest <= 1 : mean < 8, qPrintable(QString::number(format)));
            }
        }
    }

    /// Each of the interlacing's steps holds the picture's own pixels, as far apart as its bound allows.
    void interlacedPng() {
        QFile file(QStringLiteral(TAVLIN_SOURCE_DIR "/tests/data/interlaced.png"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        InputDevice device(file.handle());
        const QImage whole(file.fileName());
        for (const int unit : {8, 4, 2, 1}) {
            const QSize size((whole.width() + unit - 1) / unit, (whole.height() + unit - 1) / unit);
            const QImage image =
                coarseInterlacedPng(device, 5000, std::max(size.width() * size.height(), whole.width()) * 4);
            QCOMPARE(image.size(), size);
            for (int i = 0; i < size.width() * size.height(); ++i) {
                const QPoint at(i % size.width(), i / size.width());
                QCOMPARE(image.pixel(at), whole.pixel(at * unit));
            }
        }
        QCOMPARE(coarseInterlacedPng(device, 5).width(), 5);
        InputDevice cut(device, 0, 100);
        QVERIFY(coarseInterlacedPng(cut, 5000).isNull());
    }

    /// A pass is the costly part: what can be had in one is not to take two.
    void onePass() {
        struct CountingPass : RowPass {
            QSize size() const override { return {1000, 6000}; }
            QImage::Format format() const override { return QImage::Format_RGB32; }
            bool skip(InputDevice&, int rows) override {
                row += rows;
                return true;
            }
            bool read(InputDevice&, QImage& into) override {
                for (int y = 0; y < into.height(); ++y, ++row)
                    std::fill_n(reinterpret_cast<QRgb*>(into.scanLine(y)), into.width(),
                                0xff000000 + QRgb(row));
                return true;
            }
            int row = 0;
        };
        constexpr qsizetype kBytes = 1500 * 4 * 1000;
        SequentialRegions regions(
            {QSize(1000, 6000), QImageIOHandler::TransformationNone, {}},
            [](InputDevice&, int) { return std::make_unique<CountingPass>(); }, kBytes);
        const TestFile file;
        InputDevice device(file.handle());
        const auto read = [&](int top, QRect interest) {
            const QImage image = regions.read(device, 0, QRect(100, top, 200, 200), interest);
            return image.size() == QSize(200, 200) && image.pixel(0, 0) == 0xff000000 + QRgb(top) &&
                   image.pixel(199, 199) == 0xff000000 + QRgb(top + 199) &&
                   regions.keptBytes() <= kBytes + 64 * 4000;
        };
        const QRect view(0, 2000, 1000, 600);
        for (const int top : {2200, 2000, 2400, 2200})  // the middle first
            QVERIFY(read(top, view));
        QCOMPARE(regions.passes(), 1);
        for (int top = 2600; top <= 5800; top += 200)  // down
            QVERIFY(read(top, QRect(0, top - 400, 1000, 600)));
        QCOMPARE(regions.passes(), 1);
        QVERIFY(read(5200, QRect(0, 5200, 1000, 600)));
        QCOMPARE(regions.passes(), 1);
        QVERIFY(read(100, QRect(0, 0, 1000, 600)));
        QCOMPARE(regions.passes(), 2);
    }
};

TAVLIN_TEST_MAIN(QCoreApplication, RegionsTest)
#include "RegionsTest.moc"
