// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/regions/RegionSource.h"

#include <memory>

namespace decoder {

/// A TIFF of which any tile or strip can be decoded on its own, with the smaller pictures of its pyramid as
/// levels. Source: TIFF 6.0; libtiff reads the pieces.
class TiffRegions : public RegionSource {
 public:
    /// Null where the file is none that is read in pieces: strips too large, samples that are no numbers of
    /// 8 or 16 bits and that libtiff does not convert.
    static std::unique_ptr<TiffRegions> open(InputDevice& device);
    ~TiffRegions() override;

    QSize size() const override;
    QImageIOHandler::Transformations transformation() const override;
    QImage read(InputDevice& device, int level, const QRect& region, const QRect& interest) override;
    bool hasLevel(int level) const override;
    qsizetype keptBytes() const override;

    /// Whether a whole picture of this size is better read here than by the toolkit, which decodes all, if it
    /// can at all.
    bool isForWhole(int pixelSize) const;
    /// The whole picture, at least as large as asked if it is that large, from the pyramid; of a huge picture
    /// without one, from pieces here and there, each of which stands for its neighbours. A null image where
    /// none can be read.
    QImage whole(InputDevice& device, int pixelSize);

 private:
    struct Private;
    explicit TiffRegions(std::unique_ptr<Private> d);

    std::unique_ptr<Private> _d;
};

}  // namespace decoder
