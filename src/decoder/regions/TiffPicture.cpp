// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/regions/TiffPicture.h"

#include "decoder/InputDevice.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include <tiffio.h>

namespace decoder {

namespace {

constexpr qint64 kLargestPiece = 64 << 20;  // bytes, decoded
constexpr int kMaximumDirectories = 32;
constexpr int kMaximumSide = 1 << 30;
constexpr quint32 kLargestProfile = 16 << 20;

/// A numeric tag's value, its default where it does not stand.
template <typename Number>
Number value(TIFF* tiff, std::uint32_t tag, Number missing) {
    Number found = missing;
    return TIFFGetFieldDefaulted(tiff, tag, &found) ? found : missing;
}

QColorSpace profileOf(TIFF* tiff) {
    std::uint32_t size = 0;
    void* bytes = nullptr;
    if (!TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &size, &bytes) || !bytes || size > kLargestProfile)
        return {};
    return QColorSpace::fromIccProfile(QByteArray(static_cast<const char*>(bytes), qsizetype(size)));
}

/// The format of pieces whose samples can be taken as they are; invalid for others.
QImage::Format plainFormat(TIFF* tiff, int bits, int samples) {
    const bool isInterleaved =
        samples == 1 ||
        value<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_CONTIG;
    const auto photometric = value<std::uint16_t>(tiff, TIFFTAG_PHOTOMETRIC, 0xffff);
    if (!isInterleaved ||
        value<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT) != SAMPLEFORMAT_UINT)
        return QImage::Format_Invalid;
    if (photometric == PHOTOMETRIC_MINISBLACK && samples == 1)
        return bits == 8 ? QImage::Format_Grayscale8 : QImage::Format_Grayscale16;
    if (photometric != PHOTOMETRIC_RGB || samples < 3 || samples > 4)
        return QImage::Format_Invalid;
    if (samples == 3)
        return bits == 8 ? QImage::Format_RGB888 : QImage::Format_RGBX64;
    std::uint16_t count = 0;
    std::uint16_t* kinds = nullptr;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds);
    if (count == 1 && kinds[0] == EXTRASAMPLE_UNASSALPHA)
        return bits == 8 ? QImage::Format_RGBA8888 : QImage::Format_RGBA64;
    if (count == 1 && kinds[0] == EXTRASAMPLE_ASSOCALPHA)
        return bits == 8 ? QImage::Format_RGBA8888_Premultiplied : QImage::Format_RGBA64_Premultiplied;
    return bits == 8 ? QImage::Format_RGBX8888 : QImage::Format_RGBX64;
}

}  // namespace

/// What libtiff calls to read; it finds the handle.
struct TiffHandle::Reader {
    static tmsize_t read(thandle_t handle, void* bytes, tmsize_t size) {
        auto* it = static_cast<TiffHandle*>(handle);
        const qint64 count = it->_device->readAt(it->_offset, static_cast<char*>(bytes), size);
        it->_offset += std::max<qint64>(count, 0);
        return count;
    }
    static tmsize_t write(thandle_t, void*, tmsize_t) { return -1; }
    static toff_t seek(thandle_t handle, toff_t offset, int from) {
        auto* it = static_cast<TiffHandle*>(handle);
        const auto distance = static_cast<std::int64_t>(offset);
        it->_offset = distance + (from == SEEK_CUR   ? it->_offset
                                  : from == SEEK_END ? it->_device->size()
                                                     : 0);
        return static_cast<toff_t>(it->_offset);
    }
    static int close(thandle_t) { return 0; }
    static toff_t size(thandle_t handle) {
        return static_cast<toff_t>(static_cast<TiffHandle*>(handle)->_device->size());
    }
};

std::unique_ptr<TiffHandle> TiffHandle::open(InputDevice& device) {
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    std::unique_ptr<TiffHandle> handle(new TiffHandle);
    handle->_device = &device;
    handle->_tiff = TIFFClientOpen("picture", "rm", handle.get(), Reader::read, Reader::write, Reader::seek,
                                   Reader::close, Reader::size, nullptr, nullptr);
    return handle->_tiff ? std::move(handle) : nullptr;
}

TiffHandle::~TiffHandle() {
    if (_tiff)
        TIFFClose(_tiff);
}

std::optional<TiffPicture> TiffHandle::current() const {
    TiffPicture picture;
    picture.directory = TIFFCurrentDirOffset(_tiff);
    const auto number = [&](std::uint32_t tag, std::uint32_t missing) {
        return int(std::min<std::uint32_t>(value(_tiff, tag, missing), kMaximumSide));
    };
    picture.size = {number(TIFFTAG_IMAGEWIDTH, 0), number(TIFFTAG_IMAGELENGTH, 0)};
    picture.isTiled = TIFFIsTiled(_tiff) != 0;
    picture.isReduced =
        (value<std::uint32_t>(_tiff, TIFFTAG_SUBFILETYPE, 0) & std::uint32_t(FILETYPE_REDUCEDIMAGE)) != 0;
    picture.piece = picture.isTiled
                        ? QSize(number(TIFFTAG_TILEWIDTH, 0), number(TIFFTAG_TILELENGTH, 0))
                        : QSize(picture.size.width(),
                                std::min(number(TIFFTAG_ROWSPERSTRIP, 0xffffffff), picture.size.height()));
    picture.orientation = value<std::uint16_t>(_tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    const int bits = value<std::uint16_t>(_tiff, TIFFTAG_BITSPERSAMPLE, 1);
    picture.storedSamples = value<std::uint16_t>(_tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    if (bits == 8 || bits == 16)
        picture.format = plainFormat(_tiff, bits, picture.storedSamples);
    picture.isConverted = picture.format == QImage::Format_Invalid;
    if (picture.isConverted) {
        char message[1024];
        if (!TIFFRGBAImageOK(_tiff, message))
            return std::nullopt;
        picture.format = QImage::Format_RGBA8888_Premultiplied;
    }
    if (picture.size.isEmpty() || picture.piece.isEmpty() ||
        qint64(picture.piece.width()) * picture.piece.height() > kLargestPiece / 8)
        return std::nullopt;
    picture.profile = profileOf(_tiff);
    return picture;
}

std::optional<TiffPicture> TiffHandle::first() {
    auto picture = current();
    // The caller turns the picture; libtiff's own conversion is to leave it.
    TIFFSetField(_tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    _selected = TIFFCurrentDirOffset(_tiff);
    return picture;
}

std::vector<TiffPicture> TiffHandle::others() {
    std::vector<TiffPicture> pictures;
    std::vector<std::uint64_t> below;
    std::uint16_t count = 0;
    std::uint64_t* offsets = nullptr;
    if (TIFFGetField(_tiff, TIFFTAG_SUBIFD, &count, &offsets) && offsets)
        below.assign(offsets, offsets + std::min<int>(count, kMaximumDirectories));
    for (int i = 0; i < kMaximumDirectories && TIFFReadDirectory(_tiff); ++i) {
        if (auto picture = current())
            pictures.push_back(std::move(*picture));
    }
    for (const std::uint64_t offset : below) {
        if (!TIFFSetSubDirectory(_tiff, offset))
            continue;
        if (auto picture = current())
            pictures.push_back(std::move(*picture));
    }
    _selected = 0;
    return pictures;
}

bool TiffHandle::select(const TiffPicture& picture) {
    if (_selected == picture.directory)
        return true;
    _selected = 0;
    if (!TIFFSetSubDirectory(_tiff, picture.directory))
        return false;
    TIFFSetField(_tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    _selected = picture.directory;
    return true;
}

QImage TiffHandle::piece(const TiffPicture& picture, int column, int row) {
    if (!select(picture))
        return {};
    const QSize size = picture.areaOf(column, row).size();
    const auto index = static_cast<std::uint32_t>(row) * static_cast<std::uint32_t>(picture.columns()) +
                       static_cast<std::uint32_t>(column);
    if (TIFFGetStrileByteCount(_tiff, index) == 0) {
        QImage image(size, picture.format);
        image.fill(0);
        return image;
    }
    return picture.isConverted ? convertedPiece(picture, column, row, size)
                               : storedPiece(picture, index, size);
}

QImage TiffHandle::storedPiece(const TiffPicture& picture, std::uint32_t index, QSize size) {
    const bool isExpanded = picture.format == QImage::Format_RGBX64 && picture.storedSamples == 3;
    const qint64 bytesPerPixel = isExpanded ? 6 : QImage(1, 1, picture.format).depth() / 8;
    const qint64 rowBytes = bytesPerPixel * picture.piece.width();
    const int rows = picture.isTiled ? picture.piece.height() : size.height();
    std::vector<uchar> bytes(static_cast<std::size_t>(rowBytes * rows));
    const auto room = static_cast<tmsize_t>(bytes.size());
    if ((picture.isTiled ? TIFFTileSize64(_tiff)
                         : TIFFVStripSize64(_tiff, static_cast<std::uint32_t>(rows))) != bytes.size())
        return {};
    const tmsize_t count = picture.isTiled ? TIFFReadEncodedTile(_tiff, index, bytes.data(), room)
                                           : TIFFReadEncodedStrip(_tiff, index, bytes.data(), room);
    if (count < 0)
        return {};
    QImage image(size, picture.format);
    if (image.isNull())
        return image;
    for (int y = 0; y < size.height(); ++y) {
        const uchar* from = bytes.data() + y * rowBytes;
        if (!isExpanded) {
            std::memcpy(image.scanLine(y), from, static_cast<std::size_t>(bytesPerPixel * size.width()));
            continue;
        }
        auto* to = reinterpret_cast<std::uint16_t*>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x, to += 4, from += 6) {
            std::memcpy(to, from, 6);
            to[3] = 0xffff;
        }
    }
    return image;
}

/// libtiff's conversion gives the rows from the bottom up, each pixel's bytes red first on every machine that
/// its own numbers are read back on.
QImage TiffHandle::convertedPiece(const TiffPicture& picture, int column, int row, QSize size) {
    const int rows = picture.isTiled ? picture.piece.height() : size.height();
    const int width = picture.piece.width();
    std::vector<std::uint32_t> raster(static_cast<std::size_t>(width) * static_cast<std::size_t>(rows));
    const auto left = static_cast<std::uint32_t>(column * picture.piece.width());
    const auto top = static_cast<std::uint32_t>(row * picture.piece.height());
    const int done = picture.isTiled ? TIFFReadRGBATileExt(_tiff, left, top, raster.data(), 1)
                                     : TIFFReadRGBAStripExt(_tiff, top, raster.data(), 1);
    QImage image(size, picture.format);
    if (!done || image.isNull())
        return {};
    for (int y = 0; y < size.height(); ++y) {
        const std::uint32_t* from = raster.data() + qsizetype(rows - 1 - y) * width;
        uchar* to = image.scanLine(y);
        for (int x = 0; x < size.width(); ++x, to += 4) {
            to[0] = static_cast<uchar>(TIFFGetR(from[x]));
            to[1] = static_cast<uchar>(TIFFGetG(from[x]));
            to[2] = static_cast<uchar>(TIFFGetB(from[x]));
            to[3] = static_cast<uchar>(TIFFGetA(from[x]));
        }
    }
    return image;
}

}  // namespace decoder
