// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/stored/StoredPng.h"

#include "decoder/protocol/Protocol.h"

#include <unistd.h>

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <span>
#include <string_view>

namespace decoder {

namespace {

constexpr png_uint_32 kLargestSide = 1024;           // of the thumbnail standard's largest size
constexpr png_alloc_size_t kLargestChunk = 1 << 20;  // bytes, unpacked: a text's

/// What 8-bit samples in sRGB do not say.
constexpr png_uint_32 kUnusualChunks = PNG_INFO_iCCP | PNG_INFO_tRNS;

/// Rounded as the toolkit does it: red and blue at once, then green.
std::uint32_t premultiplied(std::uint32_t pixel) {
    const std::uint32_t alpha = pixel >> 24;
    std::uint32_t redBlue = (pixel & 0xff00ff) * alpha;
    redBlue = (redBlue + ((redBlue >> 8) & 0xff00ff) + 0x800080) >> 8;
    std::uint32_t green = ((pixel >> 8) & 0xff) * alpha;
    green = green + ((green >> 8) & 0xff) + 0x80;
    return (alpha << 24) | (green & 0xff00) | (redBlue & 0xff00ff);
}

void convert(const png_byte* samples, bool hasAlpha, std::span<std::uint32_t> row) {
    const int channels = hasAlpha ? 4 : 3;
    for (std::uint32_t& pixel : row) {
        const std::uint32_t colour =
            std::uint32_t{samples[0]} << 16 | std::uint32_t{samples[1]} << 8 | samples[2];
        pixel = hasAlpha ? premultiplied(std::uint32_t{samples[3]} << 24 | colour) : 0xff000000 | colour;
        samples += channels;
    }
}

std::string utf8FromLatin1(std::string_view text) {
    std::string result;
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (code >= 0x80)
            result += static_cast<char>(0xc0 | code >> 6);
        result += static_cast<char>(code >= 0x80 ? 0x80 | (code & 0x3f) : code);
    }
    return result;
}

std::string utf8Of(const png_text& text) {
    const bool isUtf8 = text.compression > PNG_TEXT_COMPRESSION_zTXt;
    const std::string_view stored(text.text, isUtf8 ? text.itxt_length : text.text_length);
    return isUtf8 ? std::string(stored) : utf8FromLatin1(stored);
}

void appendNumber(std::string& bytes, std::size_t number) {
    const auto value = static_cast<std::uint32_t>(number);
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

}  // namespace

/// Runs calls of the library; false where one of them fails. Never inlined: a caller's variables are not to
/// live in the frame that is jumped back to.
template <typename Work>
bool StoredPng::guarded(Work work) {
    if (setjmp(png_jmpbuf(_png)) != 0)
        return false;
    work();
    return true;
}

void StoredPng::fillBuffer(png_structp png) {
    const ssize_t count = ::pread(_descriptor, _buffer.data(), _buffer.size(), _offset);
    if (count <= 0)
        png_error(png, "the file ends");
    _offset += count;
    _used = 0;
    _filled = static_cast<std::size_t>(count);
}

void StoredPng::readBytes(png_structp png, png_bytep bytes, std::size_t count) {
    auto* self = static_cast<StoredPng*>(png_get_io_ptr(png));
    while (count > 0) {
        if (self->_used == self->_filled)
            self->fillBuffer(png);
        const std::size_t part = std::min(count, self->_filled - self->_used);
        std::memcpy(bytes, self->_buffer.data() + self->_used, part);
        self->_used += part;
        bytes += part;
        count -= part;
    }
}

bool StoredPng::readHead() {
    _png = png_create_read_struct(
        PNG_LIBPNG_VER_STRING, nullptr, [](png_structp png, png_const_charp) { png_longjmp(png, 1); },
        [](png_structp, png_const_charp) {});
    _info = _png ? png_create_info_struct(_png) : nullptr;
    return _info && guarded([this] {
               png_set_chunk_malloc_max(_png, kLargestChunk);
               png_set_read_fn(_png, this, readBytes);
               png_read_info(_png, _info);
           });
}

bool StoredPng::isUsual() const {
    const auto colours = png_get_color_type(_png, _info);
    const bool isInSrgb = png_get_valid(_png, _info, PNG_INFO_sRGB) != 0 ||
                          png_get_valid(_png, _info, PNG_INFO_gAMA | PNG_INFO_cHRM) == 0;
    return (colours == PNG_COLOR_TYPE_RGB || colours == PNG_COLOR_TYPE_RGB_ALPHA) && isInSrgb &&
           png_get_bit_depth(_png, _info) == 8 && png_get_valid(_png, _info, kUnusualChunks) == 0 &&
           png_get_interlace_type(_png, _info) == PNG_INTERLACE_NONE && width() <= kLargestSide &&
           height() <= kLargestSide;
}

bool StoredPng::readRest(std::uint32_t* pixels) {
    const std::uint32_t columns = width();
    const std::uint32_t rows = height();
    const bool isClear = hasAlpha();
    return guarded([this, pixels, columns, rows, isClear] {
        std::array<png_byte, std::size_t{kLargestSide} * 4> samples;
        for (std::uint32_t y = 0; y < rows; ++y) {
            png_read_row(_png, samples.data(), nullptr);
            convert(samples.data(), isClear, {pixels + std::size_t{y} * columns, columns});
        }
        png_read_end(_png, _info);
    });
}

std::string StoredPng::packedTexts() const {
    png_textp texts = nullptr;
    const int count = png_get_text(_png, _info, &texts, nullptr);
    std::string packed;
    std::size_t taken = 0;
    for (int i = 0; i < count && taken < kMaximumTexts; ++i) {
        const std::string key = utf8FromLatin1(texts[i].key);
        const std::string text = utf8Of(texts[i]);
        if (key.size() + text.size() > kMaximumTextBytes)
            continue;
        appendNumber(packed, key.size());
        appendNumber(packed, text.size());
        packed.append(key).append(text);
        ++taken;
    }
    return packed;
}

}  // namespace decoder
