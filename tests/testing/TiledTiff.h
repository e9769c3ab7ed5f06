// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QColorSpace>
#include <QFile>
#include <QImage>
#include <QTemporaryFile>

#include <algorithm>
#include <cstring>
#include <vector>

#include <tiffio.h>

/// TIFF files in tiles, as microscopes, scanners and mapping programs write them.
namespace testPictures {

inline void setTiles(TIFF* tiff, QSize size, int side, int samples, int bits) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, size.width());
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, size.height());
    TIFFSetField(tiff, TIFFTAG_TILEWIDTH, side);
    TIFFSetField(tiff, TIFFTAG_TILELENGTH, side);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
}

struct TiffOptions {
    int orientation = 1;
    int levels = 0;  ///< of a pyramid below the picture, its sides rounded down
};

inline void writeTiles(TIFF* tiff, const QImage& source, TiffOptions options) {
    constexpr int kSide = 128;
    const bool isDeep = source.depth() == 64;
    const QImage image = source.convertToFormat(isDeep ? QImage::Format_RGBX64 : QImage::Format_RGB888);
    const int bytes = isDeep ? 8 : 3;
    const int written = isDeep ? 6 : 3;
    setTiles(tiff, image.size(), kSide, 3, isDeep ? 16 : 8);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, options.orientation);
    const QByteArray profile = source.colorSpace().iccProfile();
    if (!profile.isEmpty())
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, uint32_t(profile.size()), profile.constData());
    std::vector<uchar> tile(std::size_t(kSide) * kSide * std::size_t(written));
    for (int top = 0; top < image.height(); top += kSide) {
        for (int left = 0; left < image.width(); left += kSide) {
            for (int y = 0; y < std::min(kSide, image.height() - top); ++y) {
                for (int x = 0; x < std::min(kSide, image.width() - left); ++x)
                    std::memcpy(tile.data() + qsizetype(y * kSide + x) * written,
                                image.constScanLine(top + y) + qsizetype(left + x) * bytes,
                                std::size_t(written));
            }
            TIFFWriteTile(tiff, tile.data(), uint32_t(left), uint32_t(top), 0, 0);
        }
    }
}

/// The image in tiles of 128 pixels: 16 bits a sample where its format has as many, else 8.
inline QByteArray tiledTiff(const QImage& source, TiffOptions options = {}) {
    QTemporaryFile file;
    if (!file.open())
        return {};
    TIFF* tiff = TIFFOpen(QFile::encodeName(file.fileName()).constData(), "w");
    writeTiles(tiff, source, options);
    QImage smaller = source;
    for (int level = 1; level <= options.levels; ++level) {
        TIFFWriteDirectory(tiff);
        TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE);
        const QSize size(smaller.width() / 2, smaller.height() / 2);
        smaller = smaller.copy(0, 0, size.width() * 2, size.height() * 2)
                      .scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        writeTiles(tiff, smaller, options);
    }
    TIFFClose(tiff);
    return file.readAll();
}

/// A square BigTIFF with a pyramid down to 1,000 pixels, of tiles of 256 pixels: the first of each level is
/// filled with one colour, then every `stride`-th, the others are left out; 0: none but the first.
inline void writeSparsePyramid(const QString& path, int side, int stride = 0) {
    constexpr int kTile = 256;
    TIFF* tiff = TIFFOpen(QFile::encodeName(path).constData(), "w8");
    std::vector<uchar> tile(std::size_t(kTile) * kTile * 3);
    for (bool isFirst = true; side >= 1000; side = (side + 1) / 2, isFirst = false) {
        setTiles(tiff, {side, side}, kTile, 3, 8);
        TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, isFirst ? 0 : FILETYPE_REDUCEDIMAGE);
        const int count = (side + kTile - 1) / kTile;
        for (int i = 0; i<count * count; i += stride> 0 ? stride : count * count) {
            for (std::size_t pixel = 0; pixel < tile.size() / 3; ++pixel) {
                const int shade = i % 50;
                tile[pixel * 3] = uchar(200 - shade);
                tile[pixel * 3 + 1] = uchar(100 + shade);
                tile[pixel * 3 + 2] = uchar(50 + 3 * shade);
            }
            TIFFWriteTile(tiff, tile.data(), uint32_t(i % count * kTile), uint32_t(i / count * kTile), 0, 0);
        }
        TIFFWriteDirectory(tiff);
    }
    TIFFClose(tiff);
}

}  // namespace testPictures
