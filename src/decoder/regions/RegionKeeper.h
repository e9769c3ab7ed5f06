// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/KeptFiles.h"
#include "decoder/regions/RegionSource.h"

#include <functional>
#include <memory>
#include <variant>

namespace decoder {

struct Request;

/// Answers requests for regions, and keeps the pictures that were asked last for more.
class RegionKeeper {
 public:
    /// Opens a file for regions, or says why that is impossible.
    using Opened = std::variant<std::unique_ptr<RegionSource>, Failure>;
    using Open = std::function<Opened(InputDevice& device)>;

    explicit RegionKeeper(Open open) : _open(std::move(open)) {}

    Result region(const Request& request, InputDevice& device);
    /// Gives the memory back.
    void forget() { _pictures.clear(); }

 private:
    Open _open;
    KeptFiles<RegionSource> _pictures;
};

/// Where a rectangle of the upright picture stands in the stored one, both `upright` in size when upright.
QRect storedRect(const QRect& rect, QSize upright, QImageIOHandler::Transformations transformation);

}  // namespace decoder
