// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Decoding.h"

#include "decoder/FormatDetection.h"
#include "decoder/InputDevice.h"
#include "decoder/ToolkitLoader.h"

#include <new>

namespace decoder {

namespace {

Result decodeThumbnail(InputDevice& device, int pixelSize) {
    const QByteArray head = device.head(kHeadBytes);
    const Format format = detectFormat(head);
    if (!toolkitFormat(format))
        return Failure{Status::notImage, {}};
    return loadWithToolkit(device, format, {pixelSize, std::nullopt});
}

Result dispatch(const Request& request, InputDevice& device, Role) {
    switch (request.kind) {
        case RequestKind::thumbnail:
            return decodeThumbnail(device, request.pixelSize);
        case RequestKind::storedThumbnail:
            return loadStoredThumbnail(device);
        case RequestKind::embeddedPreview:
            return Failure{Status::noPreview, {}};
    }
    return Failure{Status::damaged, "unknown request"};
}

}  // namespace

bool prepare(Role) {
    loadToolkitFormats();
    return true;
}

Result decode(const Request& request, int descriptor, Role role) {
    try {
        InputDevice device(descriptor);
        return dispatch(request, device, role);
    } catch (const std::bad_alloc&) {
        return Failure{Status::tooLarge, {}};
    }
}

}  // namespace decoder
