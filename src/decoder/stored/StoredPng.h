// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include <png.h>

namespace decoder {

/// A PNG file that is read once, from its beginning, by pread(2): the descriptor's own offset, which the
/// program shares, stays as it is. The descriptor is borrowed. The library reports errors by a long jump,
/// over frames that hold nothing to be destroyed.
class StoredPng {
 public:
    explicit StoredPng(int descriptor) : _descriptor(descriptor) {}
    ~StoredPng() { png_destroy_read_struct(&_png, &_info, nullptr); }
    StoredPng(const StoredPng&) = delete;
    StoredPng& operator=(const StoredPng&) = delete;

    /// All that stands before the pixels; false when the file is damaged. What follows is asked after it.
    bool readHead();
    /// Whether it is 8-bit RGB or RGBA in sRGB without interlacing, and no larger than a thumbnail.
    bool isUsual() const;
    bool hasAlpha() const { return png_get_color_type(_png, _info) == PNG_COLOR_TYPE_RGB_ALPHA; }
    std::uint32_t width() const { return png_get_image_width(_png, _info); }
    std::uint32_t height() const { return png_get_image_height(_png, _info); }

    /// The pixels of a usual file as 0xAARRGGBB, premultiplied, width() × height() of them, and all that
    /// follows them; false when the file is damaged.
    bool readRest(std::uint32_t* pixels);
    /// The file's texts in UTF-8, as the protocol packs them. After readRest().
    std::string packedTexts() const;

 private:
    template <typename Work>
    [[gnu::noinline]] bool guarded(Work work);
    static void readBytes(png_structp png, png_bytep bytes, std::size_t count);
    void fillBuffer(png_structp png);

    const int _descriptor;
    png_structp _png = nullptr;
    png_infop _info = nullptr;
    off_t _offset = 0;  ///< in the file, behind what is in the buffer
    std::size_t _used = 0;
    std::size_t _filled = 0;
    std::array<png_byte, 1 << 15> _buffer;
};

}  // namespace decoder
