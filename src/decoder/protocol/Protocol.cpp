// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/protocol/Protocol.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstring>

namespace decoder {

namespace {

constexpr int kSeals = F_SEAL_SEAL | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;
constexpr std::uint64_t kMaximumPackedTexts = kMaximumTexts * (kMaximumTextBytes + 2 * sizeof(std::uint32_t));

void appendNumber(QByteArray& bytes, std::size_t number) {
    const auto value = static_cast<std::uint32_t>(number);
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

std::optional<std::uint32_t> takeNumber(QByteArrayView& bytes) {
    std::uint32_t value = 0;
    if (bytes.size() < qsizetype(sizeof value))
        return std::nullopt;
    std::memcpy(&value, bytes.data(), sizeof value);
    bytes = bytes.sliced(sizeof value);
    return value;
}

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

QByteArray packTexts(const Texts& texts) {
    QByteArray packed;
    std::size_t count = 0;
    for (auto text = texts.cbegin(); text != texts.cend() && count < kMaximumTexts; ++text) {
        if (static_cast<std::size_t>(text.key().size() + text.value().size()) > kMaximumTextBytes)
            continue;
        appendNumber(packed, static_cast<std::size_t>(text.key().size()));
        appendNumber(packed, static_cast<std::size_t>(text.value().size()));
        packed.append(text.key()).append(text.value());
        ++count;
    }
    return packed;
}

std::optional<Texts> unpackTexts(QByteArrayView bytes) {
    Texts texts;
    for (std::size_t count = 0; !bytes.isEmpty(); ++count) {
        const auto keySize = takeNumber(bytes);
        const auto textSize = takeNumber(bytes);
        if (count == kMaximumTexts || !keySize || !textSize || *keySize > kMaximumTextBytes ||
            *textSize > kMaximumTextBytes - *keySize ||
            qsizetype(*keySize) + qsizetype(*textSize) > bytes.size())
            return std::nullopt;
        texts.insert(bytes.first(*keySize).toByteArray(), bytes.sliced(*keySize, *textSize).toByteArray());
        bytes = bytes.sliced(qsizetype(*keySize) + qsizetype(*textSize));
    }
    return texts;
}

}  // namespace decoder
