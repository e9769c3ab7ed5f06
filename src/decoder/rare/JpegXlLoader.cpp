// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/rare/RareFormats.h"

#include <QColorSpace>

#include <jxl/decode.h>
#include <jxl/decode_cxx.h>

#include <algorithm>

namespace decoder {

namespace {

/// The profile of the pixels that will be given; an image coded in XYB has been asked to come as sRGB.
QColorSpace colorSpaceOf(const JxlDecoder* decoder, const JxlPixelFormat& format) {
    constexpr std::size_t kLargestProfile = 16 << 20;
    std::size_t size = 0;
    if (JxlDecoderGetICCProfileSize(decoder, &format, JXL_COLOR_PROFILE_TARGET_DATA, &size) !=
            JXL_DEC_SUCCESS ||
        size == 0 || size > kLargestProfile)
        return {};
    QByteArray profile(static_cast<qsizetype>(size), Qt::Uninitialized);
    if (JxlDecoderGetColorAsICCProfile(decoder, &format, JXL_COLOR_PROFILE_TARGET_DATA,
                                       reinterpret_cast<std::uint8_t*>(profile.data()),
                                       size) != JXL_DEC_SUCCESS)
        return {};
    return QColorSpace::fromIccProfile(profile);
}

/// One decoding: the library tells by events what it has come upon, up to the first frame's pixels.
class Decoding {
 public:
    Decoding(const QByteArray& content, int pixelSize)
        : _decoder(JxlDecoderMake(nullptr)), _pixelSize(pixelSize) {
        JxlDecoderSubscribeEvents(_decoder.get(), JXL_DEC_BASIC_INFO | JXL_DEC_COLOR_ENCODING |
                                                      JXL_DEC_FRAME_PROGRESSION | JXL_DEC_FULL_IMAGE);
        JxlDecoderSetInput(_decoder.get(), reinterpret_cast<const std::uint8_t*>(content.constData()),
                           static_cast<std::size_t>(content.size()));
        JxlDecoderCloseInput(_decoder.get());
    }

    RareResult run() {
        while (true) {
            switch (JxlDecoderProcessInput(_decoder.get())) {
                case JXL_DEC_BASIC_INFO:
                    if (JxlDecoderGetBasicInfo(_decoder.get(), &_info) != JXL_DEC_SUCCESS)
                        return Failure{Status::damaged, {}};
                    if (std::uint64_t(_info.xsize) * _info.ysize > std::uint64_t(kMaximumPixelBytes / 4))
                        return Failure{Status::tooLarge, {}};
                    break;
                case JXL_DEC_COLOR_ENCODING:
                    chooseColors();
                    break;
                case JXL_DEC_NEED_IMAGE_OUT_BUFFER:
                    if (!giveBuffer())
                        return Failure{Status::tooLarge, {}};
                    break;
                case JXL_DEC_FRAME_PROGRESSION:
                    if (isEnough() && JxlDecoderFlushImage(_decoder.get()) == JXL_DEC_SUCCESS)
                        return finished();
                    break;
                case JXL_DEC_FULL_IMAGE:
                    return finished();
                default:
                    return Failure{Status::damaged, {}};
            }
        }
    }

 private:
    void chooseColors() {
        JxlColorEncoding sRgb{};
        sRgb.color_space = _info.num_color_channels < 3 ? JXL_COLOR_SPACE_GRAY : JXL_COLOR_SPACE_RGB;
        sRgb.white_point = JXL_WHITE_POINT_D65;
        sRgb.primaries = JXL_PRIMARIES_SRGB;
        sRgb.transfer_function = JXL_TRANSFER_FUNCTION_SRGB;
        sRgb.rendering_intent = JXL_RENDERING_INTENT_RELATIVE;
        JxlDecoderSetPreferredColorProfile(_decoder.get(), &sRgb);
        _colorSpace = colorSpaceOf(_decoder.get(), kPixelFormat);
    }
    bool giveBuffer() {
        const QSize size(static_cast<int>(_info.xsize), static_cast<int>(_info.ysize));
        _image = QImage(size, QImage::Format_RGBA8888);
        std::size_t bytes = 0;
        return !_image.isNull() &&
               JxlDecoderImageOutBufferSize(_decoder.get(), &kPixelFormat, &bytes) == JXL_DEC_SUCCESS &&
               bytes == static_cast<std::size_t>(_image.sizeInBytes()) &&
               JxlDecoderSetImageOutBuffer(_decoder.get(), &kPixelFormat, _image.bits(), bytes) ==
                   JXL_DEC_SUCCESS;
    }
    /// The first step of a frame is an eighth of its size, drawn large.
    bool isEnough() const {
        return std::max(_info.xsize, _info.ysize) / 8 >= static_cast<std::uint32_t>(_pixelSize);
    }
    RareResult finished() {
        const bool premultiplied = _info.alpha_premultiplied != 0;
        if (_info.alpha_bits == 0)
            _image.reinterpretAsFormat(QImage::Format_RGBX8888);
        else if (premultiplied)
            _image.reinterpretAsFormat(QImage::Format_RGBA8888_Premultiplied);
        _image.setColorSpace(_colorSpace);
        return RareImage{_image, _image.size()};
    }

    static constexpr JxlPixelFormat kPixelFormat{4, JXL_TYPE_UINT8, JXL_NATIVE_ENDIAN, 0};

    JxlDecoderPtr _decoder;
    int _pixelSize;
    JxlBasicInfo _info{};
    QColorSpace _colorSpace;
    QImage _image;
};

}  // namespace

RareResult decodeJpegXl(const QByteArray& content, int pixelSize) {
    return Decoding(content, pixelSize).run();
}

}  // namespace decoder
