// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>

/// What the program and tavlin-decoder agree on. They talk over one SOCK_SEQPACKET socket pair, one
/// fixed-size message each way: a Request with the picture file's descriptor attached, a Response with a
/// sealed memfd attached when there are pixels. The program trusts nothing that a decoder answers. Both sides
/// are always of one build, so integers travel in the machine's own byte order.
namespace decoder {

inline constexpr std::uint32_t kMagic = 0x4c564154;  // "TAVL"
inline constexpr std::uint16_t kVersion = 4;
/// The socket's descriptor number in the decoder; 0 and 1 are /dev/null, 2 is the program's standard error.
inline constexpr int kSocketDescriptor = 3;

inline constexpr int kMaximumPixelSize = 8192;   ///< of an answer's longer side
inline constexpr int kMaximumRegionSide = 2048;  ///< of a region's answer
inline constexpr int kMaximumLevel = 20;
inline constexpr int kMaximumFrames = 1 << 20;
inline constexpr std::size_t kMaximumTexts = 32;
inline constexpr std::size_t kMaximumTextBytes = 4096;  ///< of one key with its text
inline constexpr std::uint64_t kMaximumPackedTexts =
    kMaximumTexts * (kMaximumTextBytes + 2 * sizeof(std::uint32_t));

/// The names of the roles on the command line: `tavlin-decoder --role common`. The common one decodes what
/// the toolkit does; the rare one loads the libraries of the rarer formats; that of properties reads metadata
/// and no pixels; the stored one reads the usual thumbnails of the shared store alone, and is there at once.
enum class Role : std::uint16_t { common, rare, properties, stored };
inline constexpr std::size_t kRoles = 4;
const char* roleName(Role role);

/// What confines a decoder, beyond its limits: a set of bits.
using Protections = std::uint16_t;
inline constexpr Protections kFileRights = 1;        ///< it has given up its rights over files, by Landlock
inline constexpr Protections kSystemCallFilter = 2;  ///< only what it needs is let through, by seccomp
inline constexpr Protections kAllProtections = kFileRights | kSystemCallFilter;

enum class RequestKind : std::uint16_t {
    thumbnail = 1,
    embeddedPreview = 2,
    storedThumbnail = 3,
    properties = 4,
    region = 5,  ///< a rectangle of the picture at a level
    frame = 6,   ///< one of an animation's pictures, at its own size
};

enum class Status : std::uint16_t {
    ready = 1,  ///< said once, unasked, with id 0: everything is loaded and requests are served
    picture,
    notImage,
    damaged,
    tooLarge,
    noPreview,
    otherRole,   ///< what the stored role leaves to the common one, and that to the rare one
    properties,  ///< the memory holds textBytes bytes of packed properties and nothing else
};

/// 32 bits a pixel, as QImage's formats of these names lay them out.
enum class PixelFormat : std::uint16_t { none, rgb32, argb32Premultiplied };

/// In pixels of the whole picture, upright.
struct Rectangle {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
};

struct Size {
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool operator==(const Size&) const = default;
};

struct Request {
    std::uint32_t magic = kMagic;
    std::uint16_t version = kVersion;
    RequestKind kind = RequestKind::thumbnail;
    std::uint64_t id = 0;        ///< comes back in the response; not 0
    std::int32_t pixelSize = 0;  ///< 1 to kMaximumPixelSize
    /// Of a region: it is served at a 2^level-th of its size, and its left and top are multiples of 2^level.
    std::int32_t level = 0;
    Rectangle region;
    Rectangle interest;      ///< what else will be asked for soon; holds the region
    std::int32_t frame = 0;  ///< of an animation, from 0
    std::int32_t reserved = 0;
};
static_assert(sizeof(Request) == 64 && std::is_trivially_copyable_v<Request>);

/// The memfd holds stride × height bytes of pixels and then textBytes bytes of packed texts, and nothing
/// else. Each text is the length of its key and its own, 32 bits each, and then both.
struct Response {
    std::uint32_t magic = kMagic;
    std::uint16_t version = kVersion;
    Status status = Status::damaged;
    std::uint64_t id = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t stride = 0;  ///< bytes
    PixelFormat format = PixelFormat::none;
    Protections protections = 0;  ///< of `ready`: those that hold
    std::int32_t fullWidth = 0;   ///< of the whole picture, upright
    std::int32_t fullHeight = 0;
    std::uint64_t textBytes = 0;
    std::int32_t frameCount = 1;  ///< over 1 for an animation
    std::int32_t delay = 0;       ///< of a frame: milliseconds until the next, as the file has it
    std::int32_t loops = 0;       ///< of a frame: how often all are shown again, -1 for ever
    char message[196] = {};       ///< UTF-8, ends with NUL
};
static_assert(sizeof(Response) == 256 && std::is_trivially_copyable_v<Response>);

/// What the program may do with a picture response: sizes are sane and these many bytes are to be there.
struct PictureLayout {
    std::uint64_t pixelBytes = 0;
    std::uint64_t totalBytes = 0;
};

/// Whether a region is asked for within the bounds.
bool isSaneRegion(const Request& request);
/// A side of the picture, or of a part of it, in pixels of a level.
constexpr std::int32_t sideAtLevel(std::int32_t side, int level) {
    return (side + (1 << level) - 1) >> level;
}
/// The size of its answer.
Size regionAnswerSize(const Rectangle& region, int level);

/// Whether a response of `size` received bytes is one to the request with this id.
bool isResponseTo(const Response& response, std::size_t size, std::uint64_t id);
/// The layout of a picture's memory, or nothing when a figure is out of bounds or contradicts another.
std::optional<PictureLayout> checkedLayout(const Response& response, int maximumSide);
/// Whether `descriptor` is shared memory of exactly these many bytes that nobody can change any more.
bool isSealedMemory(int descriptor, std::uint64_t bytes);
/// Seals memory against shrinking, growing, writing and further seals; false when the system refuses.
bool sealMemory(int descriptor);

}  // namespace decoder
