// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/regions/PngRegions.h"

#include "decoder/InputDevice.h"
#include "decoder/regions/ShrinkingPass.h"

#include <QPointF>

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <vector>

#include <png.h>

namespace decoder {

namespace {

/// Reads a PNG through the device that `_device` names at the time. The library reports errors by a long
/// jump, over frames that hold nothing to be destroyed.
class PngPass : public RowPass {
 public:
    PngPass() = default;
    ~PngPass() override { png_destroy_read_struct(&_png, &_info, nullptr); }
    PngPass(const PngPass&) = delete;
    PngPass& operator=(const PngPass&) = delete;

    bool open(InputDevice& device);
    QColorSpace profile() const;
    bool isInterlaced() const { return png_get_interlace_type(_png, _info) != PNG_INTERLACE_NONE; }

    QSize size() const override {
        return {int(png_get_image_width(_png, _info)), int(png_get_image_height(_png, _info))};
    }
    QImage::Format format() const override { return _format; }
    bool skip(InputDevice& device, int rows) override;
    bool read(InputDevice& device, QImage& into) override;
    /// Fills an image of every `unit`-th pixel from the interlacing's passes that hold those.
    bool readCoarsely(InputDevice& device, QImage& into, int unit);

 private:
    template <typename Work>
    [[gnu::noinline]] bool guarded(InputDevice& device, Work work);
    static void readBytes(png_structp png, png_bytep bytes, std::size_t count);
    void convertSamples();

    png_structp _png = nullptr;
    png_infop _info = nullptr;
    InputDevice* _device = nullptr;
    qint64 _offset = 0;
    QImage::Format _format = QImage::Format_Invalid;
};

/// Runs calls of the library; false where one of them fails. Never inlined: a caller's variables are not to
/// live in the frame that is jumped back to.
template <typename Work>
bool PngPass::guarded(InputDevice& device, Work work) {
    _device = &device;
    if (setjmp(png_jmpbuf(_png)) != 0)
        return false;
    work();
    return true;
}

void PngPass::readBytes(png_structp png, png_bytep bytes, std::size_t count) {
    auto* pass = static_cast<PngPass*>(png_get_io_ptr(png));
    const auto wanted = static_cast<qint64>(count);
    if (pass->_device->readAt(pass->_offset, reinterpret_cast<char*>(bytes), wanted) != wanted)
        png_error(png, "the file ends");
    pass->_offset += wanted;
}

bool PngPass::open(InputDevice& device) {
    _png = png_create_read_struct(
        PNG_LIBPNG_VER_STRING, nullptr, [](png_structp png, png_const_charp) { png_longjmp(png, 1); },
        [](png_structp, png_const_charp) {});
    _info = _png ? png_create_info_struct(_png) : nullptr;
    return _info && guarded(device, [this] {
               png_set_user_limits(_png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
               png_set_read_fn(_png, this, readBytes);
               png_read_info(_png, _info);
               convertSamples();
           });
}

/// Asks for 32 bits a pixel, or 64 where a sample has 16.
void PngPass::convertSamples() {
    const bool isDeep = png_get_bit_depth(_png, _info) == 16;
    const bool isClear = (png_get_color_type(_png, _info) & PNG_COLOR_MASK_ALPHA) != 0 ||
                         png_get_valid(_png, _info, PNG_INFO_tRNS) != 0;
    png_set_expand(_png);
    png_set_gray_to_rgb(_png);
    constexpr bool kIsLittle = Q_BYTE_ORDER == Q_LITTLE_ENDIAN;
    if (isDeep) {
        if (kIsLittle)
            png_set_swap(_png);
        if (!isClear)
            png_set_filler(_png, 0xffff, PNG_FILLER_AFTER);
        _format = isClear ? QImage::Format_RGBA64 : QImage::Format_RGBX64;
    } else {
        if (kIsLittle)
            png_set_bgr(_png);
        else if (isClear)
            png_set_swap_alpha(_png);
        if (!isClear)
            png_set_filler(_png, 0xff, kIsLittle ? PNG_FILLER_AFTER : PNG_FILLER_BEFORE);
        _format = isClear ? QImage::Format_ARGB32 : QImage::Format_RGB32;
    }
    png_read_update_info(_png, _info);
}

/// As the toolkit's loader reads it: an ICC profile, sRGB, or a gamma with or without primaries.
QColorSpace PngPass::profile() const {
    png_charp name = nullptr;
    int compression = 0;
    png_bytep bytes = nullptr;
    png_uint_32 size = 0;
    if (png_get_iCCP(_png, _info, &name, &compression, &bytes, &size) != 0) {
        QColorSpace profile = QColorSpace::fromIccProfile(
            QByteArray::fromRawData(reinterpret_cast<const char*>(bytes), qsizetype(size)));
        if (profile.isValid())
            return profile;
    }
    int intent = 0;
    if (png_get_sRGB(_png, _info, &intent) != 0)
        return QColorSpace::SRgb;
    double gamma = 0;
    if (png_get_gAMA(_png, _info, &gamma) == 0 || gamma <= 0)
        return {};
    const auto curve = float(1 / gamma);
    QPointF white;
    QPointF red;
    QPointF green;
    QPointF blue;
    if (png_get_cHRM(_png, _info, &white.rx(), &white.ry(), &red.rx(), &red.ry(), &green.rx(), &green.ry(),
                     &blue.rx(), &blue.ry()) != 0)
        return {white, red, green, blue, QColorSpace::TransferFunction::Gamma, curve};
    return {QColorSpace::Primaries::SRgb, curve};
}

bool PngPass::skip(InputDevice& device, int rows) {
    return guarded(device, [this, rows] {
        for (int row = 0; row < rows; ++row)
            png_read_row(_png, nullptr, nullptr);
    });
}

bool PngPass::read(InputDevice& device, QImage& into) {
    if (png_get_rowbytes(_png, _info) > static_cast<std::size_t>(into.bytesPerLine()))
        return false;
    uchar* row = into.bits();
    const qsizetype stride = into.bytesPerLine();
    const int rows = into.height();
    return guarded(device, [this, row, stride, rows] {
        for (int y = 0; y < rows; ++y)
            png_read_row(_png, row + y * stride, nullptr);
    });
}

/// The library gives a pass's rows as they are stored, where it is not asked to put them together.
bool PngPass::readCoarsely(InputDevice& device, QImage& into, int unit) {
    constexpr int kPasses = PNG_INTERLACE_ADAM7_PASSES;
    const int lastPass = unit == 8 ? 0 : unit == 4 ? 2 : unit == 2 ? 4 : kPasses - 1;
    const auto bytesPerPixel = static_cast<std::size_t>(into.depth() / 8);
    std::vector<png_byte> stored(png_get_rowbytes(_png, _info));
    uchar* pixels = into.bits();
    const qsizetype stride = into.bytesPerLine();
    const QSize all = size();
    return guarded(device, [&, bytesPerPixel, stride, lastPass, unit] {
        for (int pass = 0; pass <= lastPass; ++pass) {
            const png_uint_32 columns = PNG_PASS_COLS(png_uint_32(all.width()), pass);
            const png_uint_32 rows = columns == 0 ? 0 : PNG_PASS_ROWS(png_uint_32(all.height()), pass);
            for (png_uint_32 row = 0; row < rows; ++row) {
                png_read_row(_png, stored.data(), nullptr);
                uchar* line = pixels + qsizetype(PNG_ROW_FROM_PASS_ROW(row, pass)) / unit * stride;
                for (png_uint_32 x = 0; x < columns; ++x)
                    std::memcpy(line + std::size_t(PNG_COL_FROM_PASS_COL(x, pass)) / std::size_t(unit) *
                                           bytesPerPixel,
                                stored.data() + x * bytesPerPixel, bytesPerPixel);
            }
        }
    });
}

}  // namespace

QImage coarseInterlacedPng(InputDevice& device, int pixelSize, qsizetype bound) {
    PngPass pass;
    if (!pass.open(device) || !pass.isInterlaced())
        return {};
    const QSize all = pass.size();
    const qsizetype bytesPerPixel = QImage(1, 1, pass.format()).depth() / 8;
    const auto sizeAt = [&](int unit) {
        return QSize((all.width() + unit - 1) / unit, (all.height() + unit - 1) / unit);
    };
    const auto fits = [&](int unit) {
        return qsizetype(sizeAt(unit).width()) * sizeAt(unit).height() * bytesPerPixel <= bound;
    };
    int unit = 8;
    while (unit > 1 && std::max(sizeAt(unit).width(), sizeAt(unit).height()) < pixelSize && fits(unit / 2))
        unit /= 2;
    if (!fits(unit) || qsizetype(all.width()) * bytesPerPixel > bound)
        return {};
    QImage image(sizeAt(unit), pass.format());
    if (image.isNull() || !pass.readCoarsely(device, image, unit))
        return {};
    image.setColorSpace(pass.profile());
    return image;
}

std::unique_ptr<SequentialRegions> openPngRegions(InputDevice& device,
                                                  QImageIOHandler::Transformations transformation) {
    PngPass head;
    if (!head.open(device) || head.isInterlaced())
        return nullptr;
    return std::make_unique<SequentialRegions>(
        SequentialRegions::Picture{head.size(), transformation, head.profile()},
        [](InputDevice& file, int level) -> std::unique_ptr<RowPass> {
            auto pass = std::make_unique<PngPass>();
            if (!pass->open(file))
                return nullptr;
            if (level == 0)
                return pass;
            return std::make_unique<ShrinkingPass>(std::move(pass), level);
        });
}

}  // namespace decoder
