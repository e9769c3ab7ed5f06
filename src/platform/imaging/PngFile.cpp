// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/PngFile.h"

#include <QBuffer>
#include <QImageWriter>
#include <QtEndian>

namespace platform {

namespace {

/// The signature and the chunk IHDR, which comes first and has a fixed length (PNG
/// specification, 5.2, 11.2.2).
constexpr qsizetype headLength = 8 + 4 + 4 + 13 + 4;

/// The toolkit's scale: 80 is zlib's level 1, which is six times as fast as the default.
constexpr int quickQuality = 80;

/// CRC-32 as in ISO 3309 (PNG specification, annex D).
quint32 checksum(const QByteArray& bytes) {
    quint32 crc = 0xFFFFFFFFU;
    for (const char byte : bytes) {
        crc ^= static_cast<uchar>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
    }
    return ~crc;
}

QByteArray bigEndian(quint32 value) {
    QByteArray bytes(4, Qt::Uninitialized);
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray textChunk(const PngText& text) {
    const QByteArray body = QByteArrayLiteral("tEXt") + text.first + '\0' + text.second;
    return bigEndian(static_cast<quint32>(body.size() - 4)) + body + bigEndian(checksum(body));
}

}  // namespace

QByteArray pngWithTexts(const QImage& image, const std::vector<PngText>& texts) {
    QByteArray png;
    QBuffer buffer(&png);
    QImageWriter writer(&buffer, QByteArrayLiteral("png"));
    writer.setQuality(quickQuality);
    if (!writer.write(image) || png.size() < headLength)
        return {};
    QByteArray chunks;
    for (const PngText& text : texts)
        chunks += textChunk(text);
    return png.insert(headLength, chunks);
}

}  // namespace platform
