// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QImageWriter>
#include <QTemporaryFile>
#include <QtEndian>

#include <zlib.h>

#include <initializer_list>
#include <vector>

/// Pictures and files for the decoder's tests, made byte by byte where no writer would make them.
namespace testPictures {

/// A file of these bytes.
class TestFile : public QTemporaryFile {
 public:
    explicit TestFile(const QByteArray& bytes = {}) {
        if (!open() || write(bytes) != bytes.size() || !flush())
            qFatal("the test's file cannot be written");
    }
};

/// 64 × 48: red, green / blue, yellow, each pure enough to be told apart after lossy packing.
inline QImage quadrants(QSize size = {64, 48}) {
    QImage image(size, QImage::Format_RGB32);
    const QColor colours[2][2] = {{QColor(220, 30, 30), QColor(30, 200, 30)},
                                  {QColor(30, 30, 220), QColor(240, 240, 40)}};
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixelColor(x, y, colours[y * 2 / size.height()][x * 2 / size.width()]);
    }
    return image;
}

/// The first letters of the four quadrants' colours, "RGBY" for quadrants(); '?' for any other colour.
inline QByteArray lettersOf(const QImage& image) {
    QByteArray letters;
    for (const auto& [x, y] : {std::pair(1, 1), std::pair(3, 1), std::pair(1, 3), std::pair(3, 3)}) {
        const QColor colour = image.pixelColor(image.width() * x / 4, image.height() * y / 4);
        const bool red = colour.red() > 128;
        const bool green = colour.green() > 128;
        const bool blue = colour.blue() > 128;
        letters += red && green && !blue    ? 'Y'
                   : red && !green && !blue ? 'R'
                   : green && !red && !blue ? 'G'
                   : blue && !red && !green ? 'B'
                                            : '?';
    }
    return letters;
}

inline QByteArray written(const QImage& image, const char* format, int quality = 95) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    return writer.write(image) ? bytes : QByteArray();
}

template <typename Number>
QByteArray little(Number number) {
    QByteArray bytes(sizeof number, '\0');
    qToLittleEndian(number, bytes.data());
    return bytes;
}

template <typename Number>
QByteArray big(Number number) {
    QByteArray bytes(sizeof number, '\0');
    qToBigEndian(number, bytes.data());
    return bytes;
}

/// An entry of a little-endian TIFF directory: SHORT (3), LONG (4) or BYTE (1), its value inside.
struct TiffEntry {
    quint16 tag;
    quint16 type;
    quint32 value;
    quint32 count = 1;
};

inline QByteArray tiffDirectory(const std::vector<TiffEntry>& entries, quint32 next = 0) {
    QByteArray bytes = little(quint16(entries.size()));
    for (const TiffEntry& entry : entries)
        bytes += little(entry.tag) + little(entry.type) + little(entry.count) + little(entry.value);
    return bytes + little(next);
}

inline QByteArray tiffHeader() {
    return QByteArray("II") + little(quint16(42)) + little(quint32(8));
}

/// An EXIF block with an orientation and, unless it is empty, a thumbnail.
inline QByteArray exifBlock(int orientation, const QByteArray& thumbnail = {}) {
    constexpr quint32 kSecond = 8 + 2 + 12 + 4;
    constexpr quint32 kThumbnail = kSecond + 2 + 24 + 4;
    const quint32 length = quint32(thumbnail.size());
    QByteArray block = tiffHeader() + tiffDirectory({{0x112, 3, quint32(orientation)}}, length ? kSecond : 0);
    if (length)
        block += tiffDirectory({{0x201, 4, kThumbnail}, {0x202, 4, length}}) + thumbnail;
    return block;
}

inline QByteArray withExifInJpeg(const QByteArray& jpeg, const QByteArray& block) {
    const QByteArray content = QByteArray("Exif\0\0", 6) + block;
    return jpeg.left(2) + "\xff\xe1" + big(quint16(content.size() + 2)) + content + jpeg.mid(2);
}

inline QByteArray pngChunk(const QByteArray& type, const QByteArray& content) {
    const QByteArray sealed = type + content;
    const auto sum = ::crc32(0, reinterpret_cast<const Bytef*>(sealed.constData()), uInt(sealed.size()));
    return big(quint32(content.size())) + sealed + big(quint32(sum));
}

constexpr int kPngHeaderBytes = 33;  // signature and IHDR

inline QByteArray withExifInPng(const QByteArray& png, const QByteArray& block) {
    return png.left(kPngHeaderBytes) + pngChunk("eXIf", block) + png.mid(kPngHeaderBytes);
}

/// The file header and first chunk of a PNG of this size, and one chunk of pixels that holds next to nothing.
inline QByteArray pngOfSize(quint32 width, quint32 height) {
    return QByteArray("\x89PNG\r\n\x1a\n") +
           pngChunk("IHDR", big(width) + big(height) + QByteArray::fromHex("0806000000")) +
           pngChunk("IDAT", QByteArray::fromHex("789c63000100000500010d0a2db4")) + pngChunk("IEND", {});
}

/// The PNG with each chunk's sum made right again, so that damage inside a chunk reaches whoever reads it.
inline QByteArray withRightSums(QByteArray png) {
    qsizetype at = 8;
    while (at + 12 <= png.size()) {
        const qsizetype length = qFromBigEndian<quint32>(png.constData() + at);
        if (length > png.size() - at - 12)
            break;
        png.replace(at, length + 12, pngChunk(png.mid(at + 4, 4), png.mid(at + 8, length)));
        at += length + 12;
    }
    return png;
}

inline QByteArray withExifInWebp(const QByteArray& webp, const QByteArray& block) {
    QByteArray bytes =
        webp + "EXIF" + little(quint32(block.size())) + block + QByteArray(block.size() & 1, '\0');
    bytes.replace(4, 4, little(quint32(bytes.size() - 8)));
    return bytes;
}

}  // namespace testPictures
