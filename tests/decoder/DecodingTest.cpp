// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Decoding.h"

#include "CommonRole.h"
#include "testing/AnimatedGif.h"
#include "testing/TestMain.h"
#include "testing/TiledTiff.h"
#include "TestPictures.h"

#include <QColorSpace>
#include <QPainter>
#include <QRandomGenerator>

using namespace Qt::StringLiterals;
using namespace decoder;
using namespace testPictures;

Q_DECLARE_METATYPE(decoder::Status)

namespace {

/// What the common role answers for a file of these bytes.
Result decoded(const QByteArray& bytes, int pixelSize = 256, RequestKind kind = RequestKind::thumbnail) {
    const TestFile file(bytes);
    Request request;
    request.kind = kind;
    request.pixelSize = pixelSize;
    request.level = 1;
    request.region = request.interest = {16, 8, 16, 16};
    return decode(request, file.handle());
}

Status statusOf(const Result& result) {
    const auto* failure = std::get_if<Failure>(&result);
    return failure ? failure->status : Status::picture;
}

/// Without an image for a failure.
Picture pictureOf(const Result& result) {
    const auto* picture = std::get_if<Picture>(&result);
    return picture ? *picture : Picture();
}

/// What the eight EXIF orientations make of stored quadrants "RGBY".
const char* shown(int orientation) {
    const char* letters[] = {"RGBY", "GRYB", "YBGR", "BYRG", "RBGY", "BRYG", "YGBR", "GYRB"};
    return letters[orientation - 1];
}

QByteArray fileOfFormat(const QByteArray& format) {
    if (format == "ico") {  // two pictures of one size, the deeper one to be shown
        constexpr quint32 kDirectory = 38;
        const QByteArray flat = written(QImage(64, 48, QImage::Format_Mono), "png");
        const QByteArray deep = written(quadrants(), "png");
        const auto entry = [](quint16 depth, const QByteArray& png, quint32 at) {
            return QByteArray::fromHex("403000000100") + little(depth) + little(quint32(png.size())) +
                   little(at);
        };
        return QByteArray::fromHex("000001000200") + entry(1, flat, kDirectory) +
               entry(32, deep, kDirectory + quint32(flat.size())) + flat + deep;
    }
    if (format == "gif")  // 2 × 2 pixels, a table of red, green, blue, yellow
        return QByteArray::fromHex(
            "47494638396102000200910000dc1e1e1ec81e1e1edcf0f0282c0000000002000200000203443405003b");
    return written(quadrants(), format.constData());
}

}  // namespace

/// What comes out of picture files, good and bad, in the common role.
class DecodingTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() { QVERIFY(prepareCommonRole()); }

    void formats() {
        const auto isReadyToPaint = [](const QImage& image) {
            return image.format() == QImage::Format_RGB32 ||
                   image.format() == QImage::Format_ARGB32_Premultiplied;
        };
        for (const char* format : {"jpeg", "png", "webp", "tiff", "bmp", "ppm", "gif", "ico"}) {
            const QImage image = pictureOf(decoded(fileOfFormat(format))).image;
            QVERIFY2(isReadyToPaint(image), format);
            QCOMPARE(lettersOf(image), "RGBY");
        }
        const QImage rowAsText = pictureOf(decoded("P2 # grey\n2 1 255\n0 255\n")).image;
        QVERIFY(isReadyToPaint(rowAsText));
        QCOMPARE(rowAsText.pixel(1, 0), qRgb(255, 255, 255));
    }

    /// Shrunk colours of 16 bits under a half transparent sheet stay what they are.
    void deepTransparency() {
        QImage image(400, 300, QImage::Format_RGBA64);
        image.fill(QColor(200, 40, 40, 153));
        const QColor shown = pictureOf(decoded(written(image, "png"), 100)).image.pixelColor(50, 40);
        QCOMPARE(shown.alpha(), 153);
        QVERIFY(std::abs(shown.red() - 200) <= 2 && std::abs(shown.green() - 40) <= 2);
    }

    /// What the toolkit's loaders alone get wrong.
    void mendedPictures_data() {
        // expected: of the last pixel
        const Table<QByteArray, QColor> row("bytes", "expected");
        const auto bmp = [](quint32 header, quint16 bits, const QByteArray& masks, const QByteArray& line) {
            const QByteArray info = little(header) + little(2) + little(1) + little(quint16(1)) +
                                    little(bits) + little(3) + little(quint32(line.size())) +
                                    QByteArray(16, '\0') + masks;
            const QByteArray padded = info.leftJustified(qsizetype(header), '\0');
            return "BM" + little(quint32(14 + padded.size() + line.size())) + little(0) +
                   little(quint32(14 + padded.size())) + padded + line;
        };
        const auto hex = [](const char* digits) {
            return QByteArray::fromHex(digits);
        };
        row("bmp, third header",
            bmp(56, 32, hex("0000ff0000ff0000ff00000000000000"), hex("0000ff0000ff0000")), QColor(0, 255, 0));
        row("bmp, nine bits of green", bmp(124, 16, hex("00080000ff0100000006000000000000"), hex("00f8fff1")),
            QColor(0, 255, 0));
        row("png, 16 bits with a clear colour",
            hex("89504e470d0a1a0a") + pngChunk("IHDR", hex("00000002000000011002000000")) +
                pngChunk("tRNS", hex("ffff00000000")) +
                pngChunk("IDAT", qCompress(hex("00ffff000000000000ffff0000")).mid(4)) + pngChunk("IEND", {}),
            QColor(0, 255, 0));
    }
    void mendedPictures() {
        QFETCH(QByteArray, bytes);
        const QImage image = pictureOf(decoded(bytes)).image;
        QVERIFY(!image.isNull());
        QTEST(image.pixelColor(image.width() - 1, image.height() - 1), "expected");
    }

    void orientations_data() {
        const Table<QByteArray, int> columns("bytes", "orientation");
        for (int orientation = 1; orientation <= 8; ++orientation) {
            const QByteArray exif = exifBlock(orientation);
            const auto row = [&](const char* format, const QByteArray& bytes) {
                QTest::addRow("%s %d", format, orientation) << bytes << orientation;
            };
            row("jpeg", withExifInJpeg(written(quadrants(), "jpeg"), exif));
            row("png", withExifInPng(written(quadrants(), "png"), exif));
            row("webp", withExifInWebp(written(quadrants(), "webp"), exif));
            row("tiff", tiledTiff(quadrants(), {orientation}));
        }
    }
    void orientations() {
        QFETCH(QByteArray, bytes);
        QFETCH(int, orientation);
        const Result result = decoded(bytes, 32);
        QCOMPARE(lettersOf(pictureOf(result).image), shown(orientation));
        QCOMPARE(pictureOf(result).image.size(), orientation < 5 ? QSize(32, 24) : QSize(24, 32));
        QCOMPARE(pictureOf(result).fullSize, orientation < 5 ? QSize(64, 48) : QSize(48, 64));
    }

    /// The expected values were worked out from the profiles' published primaries and curves.
    void profiles() {
        for (const auto& [profile, expected] : {std::pair(QColorSpace::SRgb, QColor(180, 120, 90)),
                                                {QColorSpace::AdobeRgb, QColor(199, 121, 88)},
                                                {QColorSpace::DisplayP3, QColor(190, 117, 84)}}) {
            QImage image(400, 300, QImage::Format_RGB32);
            image.fill(QColor(180, 120, 90));
            image.setColorSpace(profile);
            for (const char* format : {"png", "jpeg"}) {
                const QColor found =
                    pictureOf(decoded(written(image, format, 100))).image.pixelColor(100, 100);
                const int distance = std::max({std::abs(found.red() - expected.red()),
                                               std::abs(found.green() - expected.green()),
                                               std::abs(found.blue() - expected.blue())});
                QVERIFY2(distance <= 3,
                         qPrintable(u"%1 in %2"_s.arg(found.name(), QString::fromLatin1(format))));
            }
        }
    }

    void hostile_data() {
        const Table<QByteArray, Status> columns("bytes", "expected");
        const auto row = [](const char* name, const QByteArray& bytes, Status status = Status::damaged) {
            QTest::newRow(name) << bytes << status;
        };
        const QByteArray png = written(quadrants({300, 200}), "png");
        row("nothing", {}, Status::notImage);
        row("text", "These are no pictures.\n", Status::notImage);
        row("a sound", QByteArray("RIFF\x24\0\0\0WAVEfmt ", 16), Status::notImage);
        row("nothing but zeros", QByteArray(5000, '\0'), Status::notImage);
        row("a drawing is for the other role", "<svg xmlns='http://www.w3.org/2000/svg'/>",
            Status::otherRole);
        row("PNG cut in its pixels", png.left(png.size() / 2));
        row("PNG chunk of two gigabytes", png.left(kPngHeaderBytes) + big(quint32(0x7ffffff0)) + "iTXt");
        row("PNG of no width", pngOfSize(0, 100));
        row("PNG of 65535 squared", pngOfSize(65535, 65535), Status::tooLarge);
        row("GIF of 65535 squared",
            QByteArray::fromHex("474946383961ffffffff800000000000ffffff2c00000000ffffffff00020144003b"),
            Status::tooLarge);
        QByteArray jpeg = written(quadrants(), "jpeg");
        const auto frame = jpeg.indexOf("\xff\xc0");
        row("JPEG of 65535 squared", jpeg.replace(frame + 5, 4, "\xff\xff\xff\xff"), Status::tooLarge);
        row("BMP of 30000 squared without pixels",
            QByteArray("BM") + little(quint32(100)) + little(quint32(0)) + little(quint32(54)) +
                little(quint32(40)) + little(quint32(30000)) + little(quint32(30000)) + little(quint16(1)) +
                little(quint16(24)) + QByteArray(50, '\0'));
        row("TIFF directory outside", tiffHeader().left(4) + little(quint32(0xfffffff0)));
        row("raw file that names itself as next", tiffHeader() + tiffDirectory({{0xc612, 1, 0x401, 4}}, 8));
    }
    void hostile() {
        QFETCH(QByteArray, bytes);
        QFETCH(Status, expected);
        QCOMPARE(int(statusOf(decoded(bytes))), int(expected));
    }

    void manyDamagedBytes_data() {
        const Table<QByteArray> row("bytes");
        const QByteArray thumbnail = written(quadrants({32, 24}), "jpeg");
        row("jpeg", withExifInJpeg(written(quadrants(), "jpeg"), exifBlock(6, thumbnail)));
        row("png", withExifInPng(written(quadrants(), "png", 0), exifBlock(3)));
        row("webp", withExifInWebp(written(quadrants(), "webp"), exifBlock(5)));
        row("tiff", written(quadrants(), "tiff"));
        row("tiff in tiles", tiledTiff(quadrants()));
        row("tiff of indexes", written(quadrants().convertToFormat(QImage::Format_Indexed8), "tiff"));
        row("gif", fileOfFormat("gif"));
        const quint32 preview = 8 + 2 + 4 * 12 + 4;
        const auto length = quint32(thumbnail.size());
        row("raw", tiffHeader() +
                       tiffDirectory(
                           {{0x112, 3, 6}, {0x201, 4, preview}, {0x202, 4, length}, {0xc612, 1, 0x401, 4}}) +
                       thumbnail);
    }
    /// Whatever bytes are changed or missing, there is an answer within the bounds (and, with the sanitizers,
    /// no access outside). The seed is fixed, so that a failure comes again.
    void manyDamagedBytes() {
        QFETCH(QByteArray, bytes);
        QRandomGenerator random(20);
        int pictures = 0;
        for (int round = 0; round < 150; ++round) {
            QByteArray damaged = bytes;
            const int changes = random.bounded(1, 6);
            for (int i = 0; i < changes; ++i)
                damaged[random.bounded(int(damaged.size()))] = char(random.bounded(256));
            if (round % 5 == 0)
                damaged.truncate(random.bounded(int(damaged.size())));
            if (bytes.startsWith("\x89PNG"))
                damaged = withRightSums(damaged);
            for (const auto& [kind, largest] : {std::pair(RequestKind::thumbnail, 40),
                                                {RequestKind::embeddedPreview, 1024},
                                                {RequestKind::region, 8}}) {
                const Result result = decoded(damaged, 40, kind);
                const QImage image = pictureOf(result).image;
                pictures += image.isNull() ? 0 : 1;
                QVERIFY(image.width() <= largest);
                QVERIFY(statusOf(result) != Status::ready);
            }
        }
        forgetKeptPictures();
        QVERIFY2(pictures > 0, "the damage was too great to be a test");
    }

    void previews_data() {
        // expected: invalid: no preview
        const Table<QByteArray, QSize, QByteArray> columns("bytes", "expected", "letters");
        const auto jpegWith = [](QSize size, const QByteArray& block) {
            return withExifInJpeg(written(quadrants(size), "jpeg"), block);
        };
        const auto thumbnail = [](QSize size) {
            return written(quadrants(size), "jpeg");
        };
        /// 160 × 120 with the picture between bars of this colour.
        const auto letterboxed = [](QSize content, QColor bars) {
            QImage image(160, 120, QImage::Format_RGB32);
            image.fill(bars);
            QPainter(&image).drawImage((160 - content.width()) / 2, (120 - content.height()) / 2,
                                       quadrants(content));
            return written(image, "jpeg");
        };
        const auto row = [](const char* name, const QByteArray& bytes, QSize size = {},
                            const char* letters = "") {
            QTest::newRow(name) << bytes << size << QByteArray(letters);
        };
        row("as it is", jpegWith({800, 600}, exifBlock(1, thumbnail({160, 120}))), {160, 120}, "RGBY");
        row("turned", jpegWith({800, 600}, exifBlock(6, thumbnail({160, 120}))), {120, 160}, "BRYG");
        row("bars above and below", jpegWith({900, 600}, exifBlock(1, letterboxed({160, 106}, Qt::black))),
            {160, 106}, "RGBY");
        row("white bars are another picture's",
            jpegWith({900, 600}, exifBlock(1, letterboxed({160, 106}, Qt::white))));
        row("another shape", jpegWith({600, 800}, exifBlock(1, thumbnail({160, 120}))));
        row("too large to be one",
            jpegWith({1600, 1200}, exifBlock(1, written(quadrants({1200, 900}), "jpeg", 30))));
        row("not a JPEG", written(quadrants(), "png"));
    }
    void previews() {
        QFETCH(QByteArray, bytes);
        QFETCH(QSize, expected);
        QFETCH(QByteArray, letters);
        const Result result = decoded(bytes, 256, RequestKind::embeddedPreview);
        QCOMPARE(int(statusOf(result)), int(expected.isValid() ? Status::picture : Status::noPreview));
        if (!expected.isValid())
            return;
        QCOMPARE(pictureOf(result).image.size(), expected);
        QCOMPARE(lettersOf(pictureOf(result).image), letters);
    }

    void rawFiles_data() {
        const Table<QByteArray, int, QSize, QSize> row("bytes", "pixelSize", "expected", "fullSize");
        const QByteArray small = written(quadrants({160, 120}), "jpeg");
        const QByteArray large = written(quadrants({800, 600}), "jpeg");
        const auto smallLength = quint32(small.size());
        const auto largeLength = quint32(large.size());

        // First directory: orientation 6 and a small preview; a second one with a large one; the sensor's
        // data last.
        constexpr quint32 kSecond = 8 + 2 + 5 * 12 + 4;
        constexpr quint32 kSensor = kSecond + 2 + 2 * 12 + 4;
        constexpr quint32 kData = kSensor + 2 + 3 * 12 + 4;
        const QByteArray dng = tiffHeader() +
                               tiffDirectory({{0x112, 3, 6},
                                              {0x14a, 4, kSensor},
                                              {0x201, 4, kData},
                                              {0x202, 4, smallLength},
                                              {0xc612, 1, 0x401, 4}},
                                             kSecond) +
                               tiffDirectory({{0x111, 4, kData + smallLength}, {0x117, 4, largeLength}}) +
                               tiffDirectory({{0x100, 4, 4000}, {0x101, 4, 3000}, {0x106, 3, 32803}}) +
                               small + large;
        row("small preview suffices", dng, 100, QSize(75, 100), QSize(3000, 4000));
        row("large preview needed", dng, 400, QSize(300, 400), QSize(3000, 4000));
        row("no preview is as large", dng, 2000, QSize(600, 800), QSize(3000, 4000));

        QByteArray fuji = QByteArray("FUJIFILMCCD-RAW 0201FF000000").leftJustified(84, '\0');
        const QByteArray turned = withExifInJpeg(large, exifBlock(6));
        fuji += big(quint32(92)) + big(quint32(turned.size())) + turned;
        row("RAF", fuji, 400, QSize(300, 400), QSize(600, 800));

        const auto box = [](const QByteArray& type, const QByteArray& content) {
            return big(quint32(content.size() + 8)) + type + content;
        };
        const QByteArray canon =
            box("ftyp", "crx ") + box("moov", box("uuid", QByteArray(16, 'c') + box("CMT1", exifBlock(6)))) +
            box("uuid",
                QByteArray(16, 'p') + QByteArray(8, '\0') + box("PRVW", QByteArray(16, '\0') + large));
        row("CR3", canon, 400, QSize(300, 400), QSize(600, 800));
    }
    void rawFiles() {
        QFETCH(QByteArray, bytes);
        QFETCH(int, pixelSize);
        QFETCH(QSize, expected);
        QFETCH(QSize, fullSize);
        const Result result = decoded(bytes, pixelSize);
        QCOMPARE(pictureOf(result).image.size(), expected);
        QCOMPARE(pictureOf(result).fullSize, fullSize);
        QCOMPARE(lettersOf(pictureOf(result).image), shown(6));
    }

    void frames_data() {
        // asked: frames, in this order
        // told: their colours and delays; '-' for a failure
        const Table<QByteArray, QByteArray, QByteArray, int> columns("bytes", "asked", "told", "loops");
        const QByteArray gif = animatedGif({6, 4}, {0, 7, 50}, 2);
        const auto row = [](const char* name, const QByteArray& bytes, const QByteArray& asked,
                            const QByteArray& told, int loops) {
            QTest::newRow(name) << bytes << asked << told << loops;
        };
        row("in order, and again", gif, "01201", "R100 G70 B500 R100 G70 ", 2);
        row("backwards", gif, "210", "B500 G70 R100 ", 2);
        row("for ever", animatedGif({2, 1}, {5, 5}, 0), "01", "R50 G50 ", -1);
        row("out of range", gif, "0391", "R100 - - G70 ", 2);
        row("cut short", gif.first(gif.size() - 20), "0121", "R100 G70 - G70 ", 2);
        row("too large", animatedGif({5000, 4000}, {5, 5}, 0), "0", "- ", 0);
        row("no animation", written(quadrants(), "png"), "0", "- ", 0);
    }
    void frames() {
        QFETCH(QByteArray, bytes);
        QFETCH(QByteArray, asked);
        QFETCH(int, loops);
        const TestFile file(bytes);
        QByteArray told;
        for (const char index : asked) {
            Request request;
            request.kind = RequestKind::frame;
            request.frame = index - '0';
            const Picture picture = pictureOf(decode(request, file.handle()));
            if (picture.image.isNull()) {
                told += "- ";
                continue;
            }
            const QRgb pixel = picture.image.pixel(1, 0);
            told += (qRed(pixel) ? "R" : qGreen(pixel) ? "G" : "B") + QByteArray::number(picture.delay) + ' ';
            QCOMPARE(picture.loops, loops);
            QCOMPARE(picture.fullSize, pictureOf(decoded(bytes)).fullSize);
        }
        QTEST(told, "told");
    }
};

TAVLIN_TEST_MAIN(QCoreApplication, DecodingTest)
#include "DecodingTest.moc"
