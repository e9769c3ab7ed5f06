// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/regions/RegionSource.h"

namespace decoder {

/// Regions of a picture that was decoded whole, upright sRGB, and is kept. Its pixels may be fewer than the
/// picture has, as with the preview of a raw file.
class WholeRegions : public RegionSource {
 public:
    explicit WholeRegions(Picture picture) : _picture(std::move(picture)) {}

    QSize size() const override { return _picture.fullSize; }
    QImageIOHandler::Transformations transformation() const override {
        return QImageIOHandler::TransformationNone;
    }
    QImage read(InputDevice& device, int level, const QRect& region, const QRect& interest) override;
    qsizetype keptBytes() const override { return _picture.image.sizeInBytes(); }

 private:
    const Picture _picture;
};

}  // namespace decoder
