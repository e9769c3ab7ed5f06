// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/regions/RegionSource.h"
#include "decoder/regions/RowPass.h"

#include <QColorSpace>

#include <deque>
#include <functional>
#include <memory>

namespace decoder {

/// Regions of a picture without random access. It is read in one pass for each level, which goes on where it
/// stopped; the rows that were read last are kept, as many as kRowBytes allows. What lies above them starts
/// a new pass.
class SequentialRegions : public RegionSource {
 public:
    /// A pass at a level that stands at its first row; null where the file is damaged.
    using StartPass = std::function<std::unique_ptr<RowPass>(InputDevice& device, int level)>;

    struct Picture {
        QSize size;
        QImageIOHandler::Transformations transformation;
        QColorSpace profile;
    };

    static constexpr qsizetype kRowBytes = 256 << 20;

    SequentialRegions(Picture picture, StartPass startPass, qsizetype rowBytes = kRowBytes);

    QSize size() const override { return _picture.size; }
    QImageIOHandler::Transformations transformation() const override { return _picture.transformation; }
    QImage read(InputDevice& device, int level, const QRect& region, const QRect& interest) override;
    qsizetype keptBytes() const override;

    /// The whole picture, at least as large as asked if it is that large; a null image where it is damaged.
    QImage whole(InputDevice& device, int pixelSize);

    /// The passes begun so far: each costs the work of decoding the file up to where it is read.
    int passes() const { return _passes; }

 private:
    /// Some rows in a piece.
    struct Band {
        int top;
        QImage image;
    };

    bool begin(InputDevice& device, int level, int row);
    bool readBand(InputDevice& device);
    QImage assembled(const QRect& region) const;

    const Picture _picture;
    const StartPass _startPass;
    const qsizetype _rowBytes;
    std::unique_ptr<RowPass> _pass;
    int _level = -1;
    int _nextRow = 0;
    std::deque<Band> _bands;  ///< without gaps, the last one ends at _nextRow
    int _passes = 0;
};

}  // namespace decoder
