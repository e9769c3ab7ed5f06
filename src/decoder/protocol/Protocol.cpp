// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/protocol/Protocol.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace decoder {

namespace {

constexpr int kSeals = F_SEAL_SEAL | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;
constexpr std::int32_t kLargestCoordinate = 1 << 30;

bool isSane(const Rectangle& it) {
    return it.x >= 0 && it.y >= 0 && it.width >= 1 && it.height >= 1 && it.x <= kLargestCoordinate &&
           it.y <= kLargestCoordinate && it.width <= kLargestCoordinate - it.x &&
           it.height <= kLargestCoordinate - it.y;
}

bool contains(const Rectangle& outer, const Rectangle& inner) {
    return inner.x >= outer.x && inner.y >= outer.y && inner.x + inner.width <= outer.x + outer.width &&
           inner.y + inner.height <= outer.y + outer.height;
}

}  // namespace

const char* roleName(Role role) {
    switch (role) {
        case Role::common:
            break;
        case Role::rare:
            return "rare";
        case Role::properties:
            return "properties";
        case Role::stored:
            return "stored";
    }
    return "common";
}

bool isSaneRegion(const Request& request) {
    if (request.level < 0 || request.level > kMaximumLevel || !isSane(request.region) ||
        !isSane(request.interest) || !contains(request.interest, request.region))
        return false;
    const std::int32_t rest = (1 << request.level) - 1;
    const Size size = regionAnswerSize(request.region, request.level);
    return (request.region.x & rest) == 0 && (request.region.y & rest) == 0 &&
           size.width <= kMaximumRegionSide && size.height <= kMaximumRegionSide;
}

Size regionAnswerSize(const Rectangle& region, int level) {
    return {sideAtLevel(region.width, level), sideAtLevel(region.height, level)};
}

bool isResponseTo(const Response& response, std::size_t size, std::uint64_t id) {
    return size == sizeof response && response.magic == kMagic && response.version == kVersion &&
           response.id == id;
}

std::optional<PictureLayout> checkedLayout(const Response& response, int maximumSide) {
    const bool formatKnown =
        response.format == PixelFormat::rgb32 || response.format == PixelFormat::argb32Premultiplied;
    const bool sizesSane = response.width >= 1 && response.width <= maximumSide && response.height >= 1 &&
                           response.height <= maximumSide && response.fullWidth >= 1 &&
                           response.fullHeight >= 1;
    const bool framesSane = response.frameCount >= 1 && response.frameCount <= kMaximumFrames &&
                            response.delay >= 0 && response.loops >= -1;
    if (!formatKnown || !sizesSane || !framesSane || response.stride != response.width * 4 ||
        response.textBytes > kMaximumPackedTexts)
        return std::nullopt;
    PictureLayout layout;
    layout.pixelBytes =
        static_cast<std::uint64_t>(response.stride) * static_cast<std::uint64_t>(response.height);
    layout.totalBytes = layout.pixelBytes + response.textBytes;
    return layout;
}

bool isSealedMemory(int descriptor, std::uint64_t bytes) {
    const int seals = ::fcntl(descriptor, F_GET_SEALS);
    struct stat status {};
    return seals >= 0 && (seals & kSeals) == kSeals && ::fstat(descriptor, &status) == 0 &&
           S_ISREG(status.st_mode) && static_cast<std::uint64_t>(status.st_size) == bytes;
}

bool sealMemory(int descriptor) {
    return ::fcntl(descriptor, F_ADD_SEALS, kSeals) == 0;
}

}  // namespace decoder
