// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/regions/TiffRegions.h"

#include "decoder/Finish.h"
#include "decoder/InputDevice.h"
#include "decoder/regions/TiffPicture.h"

#include <QPainter>
#include <QRegion>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <list>
#include <optional>
#include <vector>

namespace decoder {

namespace {

constexpr qsizetype kPieceBytes = 192 << 20;          // that are kept decoded
constexpr qint64 kBlockPixels = 4 << 20;              // decoded at a time on the way to a smaller level
constexpr int kMaximumShift = 4;                      // levels between a region and the picture it is made of
constexpr qint64 kWholeBytes = qint64(640) << 20;     // of which a whole picture is made without sampling
constexpr qint64 kToolkitPixels = qint64(128) << 20;  // that the toolkit decodes for a whole picture
constexpr int kSampledPieces = 1500;
constexpr qint64 kSampledPixels = qint64(96) << 20;

QRect bounds(const TiffPicture& picture) {
    return QRect(QPoint(), picture.size);
}

/// How many levels smaller `size` is than `full`; nothing when it is no whole number of them.
std::optional<int> levelOf(QSize size, QSize full) {
    const int level = int(std::lround(std::log2(double(full.width()) / size.width())));
    constexpr int kTolerance = 2;  // pixels: writers round up, down, and after each halving
    if (level < 1 || level > kMaximumLevel)
        return std::nullopt;
    const QSize exact = sizeAtLevel(full, level);
    const bool fits = std::abs(exact.width() - size.width()) <= kTolerance &&
                      std::abs(exact.height() - size.height()) <= kTolerance;
    return fits ? std::optional(level) : std::nullopt;
}

}  // namespace

struct TiffRegions::Private {
    /// A picture of the pyramid.
    struct Level {
        int level;
        TiffPicture picture;
    };
    /// A decoded piece, or those of its columns that were of interest.
    struct Piece {
        std::uint64_t directory;
        int column;
        int row;
        QRect area;
        QImage image;
    };

    std::unique_ptr<TiffHandle> handle;
    std::vector<Level> levels;  ///< the largest first
    std::list<Piece> pieces;    ///< the last used first
    qsizetype bytes = 0;

    std::size_t levelFor(int level) const;
    QImage read(std::size_t from, int level, const QRect& region, const QRect& interest);
    Piece* piece(const TiffPicture& picture, int column, int row, const QRect& needed, const QRect& interest);
    QImage readStored(const TiffPicture& picture, const QRect& region, const QRect& interest);
    QImage readShrunk(const Level& from, int level, const QRect& region, const QRect& interest);
    QImage sampled(const TiffPicture& picture, int pixelSize);
};

/// The smallest picture that is as large as a level.
std::size_t TiffRegions::Private::levelFor(int level) const {
    const auto beyond = std::ranges::find_if(levels, [&](const Level& it) { return it.level > level; });
    return static_cast<std::size_t>(beyond - levels.begin()) - 1;
}

/// A region of a level, made of a picture that is at least as large. Where its writer has rounded the sides
/// down, the last column or row comes from the next larger picture.
QImage TiffRegions::Private::read(std::size_t from, int level, const QRect& region, const QRect& interest) {
    const Level& source = levels[from];
    const QRect stored(QPoint(), sizeAtLevel(source.picture.size, level - source.level));
    if (from == 0 || stored.contains(region))
        return readShrunk(source, level, region, interest);
    QImage image(region.size(), source.picture.format);
    if (image.isNull())
        return image;
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    const auto draw = [&](const QRect& part, const QImage& pixels) {
        painter.drawImage(part.topLeft() - region.topLeft(), pixels);
        return !pixels.isNull();
    };
    const QRect within = region & stored;
    bool isGood = within.isEmpty() || draw(within, readShrunk(source, level, within, interest));
    const int largerLevel = levels[from - 1].level;
    const int unit = 1 << (level - largerLevel);
    const QRect larger(QPoint(), sizeAtLevel(levels.front().picture.size, largerLevel));
    for (const QRect& part : QRegion(region) - within) {
        const QRect below = QRect(part.topLeft() * unit, part.size() * unit) & larger;
        const QImage pixels = read(from - 1, largerLevel, below, below);
        isGood = isGood && !pixels.isNull() && draw(part, scaledSmoothly(pixels, part.size()));
    }
    painter.end();
    return isGood ? image : QImage();
}

TiffRegions::Private::Piece* TiffRegions::Private::piece(const TiffPicture& picture, int column, int row,
                                                         const QRect& needed, const QRect& interest) {
    const auto found = std::ranges::find_if(pieces, [&](const Piece& it) {
        return it.directory == picture.directory && it.column == column && it.row == row;
    });
    if (found != pieces.end() && found->area.contains(needed)) {
        pieces.splice(pieces.begin(), pieces, found);
        return &pieces.front();
    }
    if (found != pieces.end()) {
        bytes -= found->image.sizeInBytes();
        pieces.erase(found);
    }
    QImage image = handle->piece(picture, column, row);
    if (image.isNull())
        return nullptr;
    QRect area = picture.areaOf(column, row);
    if (!picture.isTiled) {
        const QRect wanted(interest.left(), area.top(), interest.width(), area.height());
        image = image.copy((area & wanted).translated(-area.topLeft()));
        area &= wanted;
    }
    bytes += image.sizeInBytes();
    pieces.push_front({picture.directory, column, row, area, image});
    while (bytes > kPieceBytes && pieces.size() > 1) {
        bytes -= pieces.back().image.sizeInBytes();
        pieces.pop_back();
    }
    return &pieces.front();
}

/// A region of one of the pictures, as it stands there.
QImage TiffRegions::Private::readStored(const TiffPicture& picture, const QRect& region,
                                        const QRect& interest) {
    QImage image(region.size(), picture.format);
    const QSize size = picture.piece;
    for (int row = region.top() / size.height(); row <= region.bottom() / size.height(); ++row) {
        for (int column = region.left() / size.width(); column <= region.right() / size.width(); ++column) {
            const QRect needed = picture.areaOf(column, row) & region;
            const Piece* it = piece(picture, column, row, needed, interest);
            if (!it || image.isNull())
                return {};
            const auto bytesPerPixel = static_cast<std::size_t>(image.depth() / 8);
            for (int y = needed.top(); y <= needed.bottom(); ++y)
                std::memcpy(image.scanLine(y - region.top()) +
                                static_cast<std::size_t>(needed.left() - region.left()) * bytesPerPixel,
                            it->image.constScanLine(y - it->area.top()) +
                                static_cast<std::size_t>(needed.left() - it->area.left()) * bytesPerPixel,
                            static_cast<std::size_t>(needed.width()) * bytesPerPixel);
        }
    }
    return image;
}

/// A region of a level between two pictures, shrunk in blocks from the larger one.
QImage TiffRegions::Private::readShrunk(const Level& from, int level, const QRect& region,
                                        const QRect& interest) {
    const int shift = level - from.level;
    const auto below = [&](const QRect& rect) {
        return QRect(rect.topLeft() * (1 << shift), rect.size() * (1 << shift)) & bounds(from.picture);
    };
    const QRect wanted = below(interest);
    if (shift == 0)
        return readStored(from.picture, region, wanted);
    const int side = int(std::sqrt(double(kBlockPixels))) >> shift;
    QImage image;
    for (int y = region.top(); y <= region.bottom(); y += side) {
        for (int x = region.left(); x <= region.right(); x += side) {
            const QRect block = QRect(x, y, side, side) & region;
            const QRect stored = below(block);
            const QImage pixels = stored.isEmpty() ? QImage() : readStored(from.picture, stored, wanted);
            if (pixels.isNull())
                return {};
            QImage small = scaledSmoothly(pixels, block.size());
            if (block == region)
                return small;
            if (image.isNull()) {
                image = QImage(region.size(), small.format());
                if (image.isNull())
                    return image;
            }
            QPainter painter(&image);
            painter.setCompositionMode(QPainter::CompositionMode_Source);
            painter.drawImage(block.topLeft() - region.topLeft(), small);
        }
    }
    return image;
}

/// A picture of which only some pieces are decoded, evenly spread.
QImage TiffRegions::Private::sampled(const TiffPicture& picture, int pixelSize) {
    const qint64 pixelsOfPiece = qint64(picture.piece.width()) * picture.piece.height();
    const qint64 most = std::clamp<qint64>(kSampledPixels / pixelsOfPiece, 64, kSampledPieces);
    int stride = 1;
    while (qint64((picture.columns() + stride - 1) / stride) * ((picture.rows() + stride - 1) / stride) >
           most)
        ++stride;
    const int strideAcross = picture.isTiled ? stride : 1;
    const QSize size = fittedSize(picture.size, pixelSize);
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return image;
    image.fill(0);
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    const double scaleX = double(size.width()) / picture.size.width();
    const double scaleY = double(size.height()) / picture.size.height();
    for (int row = 0; row < picture.rows(); row += stride) {
        for (int column = 0; column < picture.columns(); column += strideAcross) {
            const QRect group = QRect(column * picture.piece.width(), row * picture.piece.height(),
                                      picture.piece.width() * strideAcross, picture.piece.height() * stride) &
                                bounds(picture);
            const QRect target(QPoint(int(group.left() * scaleX), int(group.top() * scaleY)),
                               QPoint(int(std::ceil((group.right() + 1) * scaleX)) - 1,
                                      int(std::ceil((group.bottom() + 1) * scaleY)) - 1));
            const QImage pixels =
                handle->piece(picture, std::min(column + strideAcross / 2, picture.columns() - 1),
                              std::min(row + stride / 2, picture.rows() - 1));
            if (!pixels.isNull())
                painter.drawImage(target.topLeft(), scaledSmoothly(pixels, target.size()));
        }
    }
    return QImage(1, 1, picture.format).hasAlphaChannel() ? image
                                                          : image.convertToFormat(QImage::Format_RGB32);
}

TiffRegions::TiffRegions(std::unique_ptr<Private> d) : _d(std::move(d)) {
}

TiffRegions::~TiffRegions() = default;

std::unique_ptr<TiffRegions> TiffRegions::open(InputDevice& device) {
    auto d = std::make_unique<Private>();
    d->handle = TiffHandle::open(device);
    auto first = d->handle ? d->handle->first() : std::nullopt;
    if (!first)
        return nullptr;
    const QSize full = first->size;
    d->levels.push_back({0, std::move(*first)});
    const bool isTiled = d->levels.front().picture.isTiled;
    for (TiffPicture& picture : d->handle->others()) {
        // Microscopes leave the word out; pages of a document have it not, and are no tiles.
        if (!picture.isReduced && !(isTiled && picture.isTiled))
            continue;
        if (const auto level = levelOf(picture.size, full))
            d->levels.push_back({*level, std::move(picture)});
    }
    std::ranges::stable_sort(d->levels, {}, &Private::Level::level);
    return std::unique_ptr<TiffRegions>(new TiffRegions(std::move(d)));
}

QSize TiffRegions::size() const {
    return _d->levels.front().picture.size;
}

QImageIOHandler::Transformations TiffRegions::transformation() const {
    return transformationOfOrientation(_d->levels.front().picture.orientation);
}

qsizetype TiffRegions::keptBytes() const {
    return _d->bytes;
}

bool TiffRegions::hasLevel(int level) const {
    return level - _d->levels[_d->levelFor(level)].level <= kMaximumShift;
}

QImage TiffRegions::read(InputDevice& device, int level, const QRect& region, const QRect& interest) {
    _d->handle->setDevice(device);
    QImage image = _d->read(_d->levelFor(level), level, region, interest);
    image.setColorSpace(_d->levels.front().picture.profile);
    return image;
}

bool TiffRegions::isForWhole(int pixelSize) const {
    const qint64 pixels = qint64(size().width()) * size().height();
    const bool hasSmaller = std::ranges::any_of(_d->levels, [&](const Private::Level& it) {
        return it.level > 0 && std::max(it.picture.size.width(), it.picture.size.height()) >= pixelSize;
    });
    // The toolkit refuses a tile that has more pixels than the picture.
    const QSize piece = _d->levels.front().picture.piece;
    const bool isWithinTile = qint64(piece.width()) * piece.height() > pixels;
    return hasSmaller || isWithinTile || pixels > kToolkitPixels;
}

QImage TiffRegions::whole(InputDevice& device, int pixelSize) {
    _d->handle->setDevice(device);
    const auto large = std::find_if(_d->levels.rbegin(), _d->levels.rend(), [&](const Private::Level& it) {
        return std::max(it.picture.size.width(), it.picture.size.height()) >= pixelSize;
    });
    const TiffPicture& picture = large == _d->levels.rend() ? _d->levels.front().picture : large->picture;
    const qint64 depth = QImage(1, 1, picture.format).depth();
    const bool isRead = qint64(picture.size.width()) * picture.size.height() * depth / 8 <= kWholeBytes;
    QImage image =
        isRead ? _d->readStored(picture, bounds(picture), bounds(picture)) : _d->sampled(picture, pixelSize);
    image.setColorSpace(_d->levels.front().picture.profile);
    return image;
}

}  // namespace decoder
