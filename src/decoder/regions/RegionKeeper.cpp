// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/regions/RegionKeeper.h"

#include "decoder/Finish.h"

#include <limits>
#include <utility>

namespace decoder {

namespace {

QRect qRect(const Rectangle& it) {
    return {it.x, it.y, it.width, it.height};
}

/// In pixels of the level, whatever of them the rectangle touches.
QRect atLevel(const QRect& rect, int level) {
    return {QPoint(rect.left() >> level, rect.top() >> level),
            QPoint(rect.right() >> level, rect.bottom() >> level)};
}

}  // namespace

QRect storedRect(const QRect& rect, QSize upright, QImageIOHandler::Transformations transformation) {
    QRect stored = rect;
    QSize size = upright;
    if (transformation.testFlag(QImageIOHandler::TransformationRotate90)) {
        stored = QRect(rect.top(), upright.width() - rect.left() - rect.width(), rect.height(), rect.width());
        size.transpose();
    }
    if (transformation.testFlag(QImageIOHandler::TransformationMirror))
        stored.moveLeft(size.width() - stored.left() - stored.width());
    if (transformation.testFlag(QImageIOHandler::TransformationFlip))
        stored.moveTop(size.height() - stored.top() - stored.height());
    return stored;
}

Result RegionKeeper::region(const Request& request, InputDevice& device) {
    const InputDevice::Identity identity = device.identity();
    RegionSource* kept = _pictures.find(identity);
    if (!kept) {
        Opened opened = _open(device);
        if (auto* failure = std::get_if<Failure>(&opened))
            return std::move(*failure);
        kept = &_pictures.add(identity, std::move(std::get<std::unique_ptr<RegionSource>>(opened)));
    }
    RegionSource& source = *kept;
    const auto transformation = source.transformation();
    QSize upright = source.size();
    if (transformation.testFlag(QImageIOHandler::TransformationRotate90))
        upright.transpose();
    const QRect region = qRect(request.region);
    const QRect all(QPoint(), upright);
    if (!all.contains(region))
        return Failure{Status::damaged, "the picture is smaller"};
    if (!source.hasLevel(request.level))
        return Failure{Status::tooLarge, {}};
    const QSize levelSize = sizeAtLevel(upright, request.level);
    const auto stored = [&](const QRect& rect) {
        return storedRect(atLevel(rect, request.level), levelSize, transformation);
    };
    QImage image = source.read(device, request.level, stored(region), stored(qRect(request.interest) & all));
    _pictures.trim();
    if (image.isNull())
        return Failure{Status::damaged, {}};
    return finish(std::move(image), source.size(), transformation, std::numeric_limits<int>::max());
}

}  // namespace decoder
