// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/regions/SequentialRegions.h"

#include <algorithm>
#include <cstring>

namespace decoder {

namespace {

constexpr int kBandRows = 64;
constexpr qsizetype kBytesPerPixel = 4;  // of nearly all pictures

}  // namespace

SequentialRegions::SequentialRegions(Picture picture, StartPass startPass, qsizetype rowBytes)
    : _picture(std::move(picture)), _startPass(std::move(startPass)), _rowBytes(rowBytes) {
}

qsizetype SequentialRegions::keptBytes() const {
    qsizetype bytes = 0;
    for (const Band& band : _bands)
        bytes += band.image.sizeInBytes();
    return bytes;
}

/// Stands at `row` of the level with no rows kept.
bool SequentialRegions::begin(InputDevice& device, int level, int row) {
    _bands.clear();
    if (!_pass || _level != level || row < _nextRow) {
        _pass = _startPass(device, level);
        _level = level;
        _nextRow = 0;
        ++_passes;
    }
    const bool isThere = _pass && _pass->skip(device, row - _nextRow);
    _nextRow = row;
    if (!isThere)
        _pass.reset();
    return isThere;
}

bool SequentialRegions::readBand(InputDevice& device) {
    const int rows = std::min(kBandRows, _pass->size().height() - _nextRow);
    QImage image(_pass->size().width(), rows, _pass->format());
    if (image.isNull() || !_pass->read(device, image)) {
        _pass.reset();
        return false;
    }
    _bands.push_back({_nextRow, image});
    _nextRow += rows;
    return true;
}

QImage SequentialRegions::assembled(const QRect& region) const {
    QImage image(region.size(), _bands.front().image.format());
    if (image.isNull())
        return image;
    const int bytesPerPixel = image.depth() / 8;
    for (const Band& band : _bands) {
        const int first = std::max(region.top(), band.top);
        const int end = std::min(region.bottom() + 1, band.top + band.image.height());
        for (int y = first; y < end; ++y)
            std::memcpy(image.scanLine(y - region.top()),
                        band.image.constScanLine(y - band.top) + qsizetype(region.left()) * bytesPerPixel,
                        static_cast<std::size_t>(region.width()) * static_cast<std::size_t>(bytesPerPixel));
    }
    image.setColorSpace(_picture.profile);
    return image;
}

QImage SequentialRegions::read(InputDevice& device, int level, const QRect& region, const QRect& interest) {
    const int end = region.bottom() + 1;
    const bool isKept =
        _level == level && !_bands.empty() && _bands.front().top <= region.top() && region.top() <= _nextRow;
    if (!isKept) {
        // From the first row of interest on, where all up to the region's end can be kept.
        const qsizetype rowBytes = qsizetype(sideAtLevel(_picture.size.width(), level)) * kBytesPerPixel;
        const bool fits = qsizetype(end - interest.top() + kBandRows) * rowBytes <= _rowBytes;
        const bool goesOn = _pass && _level == level && interest.top() < _nextRow && _nextRow <= region.top();
        const int first = fits && !goesOn ? interest.top() : region.top();
        if (!begin(device, level, first))
            return {};
    }
    while (_nextRow < end) {
        if (!_pass || !readBand(device))
            return {};
        while (_bands.front().top + _bands.front().image.height() <= region.top() && keptBytes() > _rowBytes)
            _bands.pop_front();
    }
    return assembled(region);
}

QImage SequentialRegions::whole(InputDevice& device, int pixelSize) {
    const int longer = std::max(_picture.size.width(), _picture.size.height());
    int level = 0;
    while (sideAtLevel(longer, level + 1) >= pixelSize)
        ++level;
    const QRect all(QPoint(), sizeAtLevel(_picture.size, level));
    const std::unique_ptr<RowPass> pass = _startPass(device, level);
    QImage image = pass ? QImage(all.size(), pass->format()) : QImage();
    if (image.isNull() || !pass->read(device, image))
        return {};
    image.setColorSpace(_picture.profile);
    return image;
}

}  // namespace decoder
