// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/PngFile.h"

#define ZLIB_CONST
#include <zlib.h>

#include <QtEndian>

#include <algorithm>

namespace platform {

namespace {

// Names and numbers of the PNG specification (ISO/IEC 15948), chapters 9 and 11.
constexpr char signature[] = "\x89PNG\r\n\x1a\n";
constexpr char filterSub = 1;
constexpr char truecolour = 2;
constexpr char truecolourWithAlpha = 6;

QByteArray bigEndian(quint32 value) {
    QByteArray bytes(4, Qt::Uninitialized);
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray chunk(const char* type, const QByteArray& content) {
    const QByteArray body = type + content;
    const uLong crc =
        ::crc32(0, reinterpret_cast<const Bytef*>(body.constData()), static_cast<uInt>(body.size()));
    return bigEndian(static_cast<quint32>(content.size())) + body + bigEndian(static_cast<quint32>(crc));
}

/// Each row as its filter's number and the differences of every byte to the same channel's on the left.
QByteArray filteredRows(const QImage& image, int channels) {
    const int rowBytes = image.width() * channels;
    QByteArray rows(qsizetype{image.height()} * (rowBytes + 1), Qt::Uninitialized);
    char* out = rows.data();
    for (int y = 0; y < image.height(); ++y) {
        const uchar* row = image.constScanLine(y);
        *out++ = filterSub;
        out = std::copy_n(row, channels, out);
        for (int x = channels; x < rowBytes; ++x)
            *out++ = static_cast<char>(row[x] - row[x - channels]);
    }
    return rows;
}

QByteArray deflated(const QByteArray& bytes) {
    constexpr int largestWindow = 15;
    constexpr int mostMemory = 9;
    z_stream stream{};
    if (::deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, largestWindow, mostMemory, Z_HUFFMAN_ONLY) != Z_OK)
        return {};
    QByteArray result(static_cast<qsizetype>(::deflateBound(&stream, static_cast<uLong>(bytes.size()))),
                      Qt::Uninitialized);
    stream.next_in = reinterpret_cast<const Bytef*>(bytes.constData());
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    const bool isWhole = ::deflate(&stream, Z_FINISH) == Z_STREAM_END;
    result.truncate(static_cast<qsizetype>(stream.total_out));
    ::deflateEnd(&stream);
    return isWhole ? result : QByteArray();
}

}  // namespace

QByteArray pngWithTexts(const QImage& image, const std::vector<PngText>& texts) {
    const bool hasAlpha = image.hasAlphaChannel();
    const QImage pixels = image.convertToFormat(hasAlpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888);
    const QByteArray data = pixels.isNull() ? QByteArray() : deflated(filteredRows(pixels, hasAlpha ? 4 : 3));
    if (data.isEmpty())
        return {};
    QByteArray header =
        bigEndian(static_cast<quint32>(pixels.width())) + bigEndian(static_cast<quint32>(pixels.height()));
    for (const char byte : {char{8}, hasAlpha ? truecolourWithAlpha : truecolour, '\0', '\0', '\0'})
        header += byte;
    const QByteArray perceptual(1, '\0');
    QByteArray png = signature + chunk("IHDR", header) + chunk("sRGB", perceptual);
    for (const PngText& text : texts)
        png += chunk("tEXt", text.first + '\0' + text.second);
    return png + chunk("IDAT", data) + chunk("IEND", {});
}

}  // namespace platform
