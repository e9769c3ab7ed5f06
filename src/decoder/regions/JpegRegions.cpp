// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/regions/JpegRegions.h"

#include "decoder/ExifBlock.h"
#include "decoder/Finish.h"
#include "decoder/InputDevice.h"
#include "decoder/regions/SequentialRegions.h"
#include "decoder/regions/ShrinkingPass.h"

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

#include <jerror.h>

namespace decoder {

namespace {

constexpr int kMaximumOwnLevel = 3;                     // an eighth, by the library's scaled transform
constexpr std::size_t kInputBytes = 1 << 16;            // read at a time
constexpr long kCoefficientBytes = 768L << 20;          // of a progressive file, which is kept whole
constexpr qsizetype kLargestHead = qsizetype(1) << 20;  // in which EXIF is searched
constexpr unsigned kProfileBytesOfMarker = 0xffff;

/// Reads a JPEG through the device that `device` names at the time; rows behind the end of a file that is cut
/// short, which the library makes up, count as damaged. It reports errors by a long jump, over frames that
/// hold nothing to be destroyed.
class JpegPass : public RowPass {
 public:
    JpegPass() {
        _errors.manager.error_exit = [](j_common_ptr info) {
            std::longjmp(reinterpret_cast<Errors*>(info->err)->target, 1);
        };
    }
    ~JpegPass() override { jpeg_destroy_decompress(&_info); }
    JpegPass(const JpegPass&) = delete;
    JpegPass& operator=(const JpegPass&) = delete;

    bool open(InputDevice& device);
    bool start(InputDevice& device, int level);
    QSize fullSize() const { return {int(_info.image_width), int(_info.image_height)}; }
    QColorSpace profile(InputDevice& device);

    QSize size() const override { return {int(_info.output_width), int(_info.output_height)}; }
    QImage::Format format() const override;
    bool skip(InputDevice& device, int rows) override;
    bool read(InputDevice& device, QImage& into) override;

 private:
    struct Errors {
        jpeg_error_mgr manager;
        std::jmp_buf target;
        bool lacksData;  ///< pixels were asked for that the data does not reach
    };
    struct Source {
        jpeg_source_mgr manager;
        InputDevice* device;
        qint64 offset;  ///< of the next byte to be read
        bool hasEnded;
        std::array<JOCTET, kInputBytes> bytes;
    };

    template <typename Work>
    [[gnu::noinline]] bool guarded(InputDevice& device, Work work);
    void setSource();
    static boolean fill(j_decompress_ptr info);
    static void pass(j_decompress_ptr info, long bytes);
    static void note(j_common_ptr info, int level);
    bool isCut() const { return _source.hasEnded && _errors.lacksData; }

    jpeg_decompress_struct _info{};
    Errors _errors{};
    Source _source{};
    QByteArray _inks;  ///< a row of a picture in CMYK
};

/// Runs calls of the library; false where one of them fails. Never inlined: a caller's variables are not to
/// live in the frame that is jumped back to.
template <typename Work>
bool JpegPass::guarded(InputDevice& device, Work work) {
    _source.device = &device;
    if (setjmp(_errors.target) != 0)
        return false;
    work();
    return true;
}

boolean JpegPass::fill(j_decompress_ptr info) {
    auto* source = reinterpret_cast<Source*>(info->src);
    const qint64 count =
        source->device->readAt(source->offset, reinterpret_cast<char*>(source->bytes.data()), kInputBytes);
    source->manager.next_input_byte = source->bytes.data();
    source->manager.bytes_in_buffer = static_cast<std::size_t>(std::max<qint64>(count, 0));
    source->offset += std::max<qint64>(count, 0);
    if (count <= 0) {
        source->hasEnded = true;
        source->bytes[0] = 0xff;
        source->bytes[1] = JPEG_EOI;
        source->manager.bytes_in_buffer = 2;
    }
    return TRUE;
}

void JpegPass::pass(j_decompress_ptr info, long bytes) {
    auto* source = reinterpret_cast<Source*>(info->src);
    const auto wanted = static_cast<std::size_t>(std::max(bytes, 0L));
    const std::size_t atHand = std::min(wanted, source->manager.bytes_in_buffer);
    source->manager.next_input_byte += atHand;
    source->manager.bytes_in_buffer -= atHand;
    source->offset += static_cast<qint64>(wanted - atHand);
}

void JpegPass::note(j_common_ptr info, int level) {
    if (level < 0 && info->err->msg_code == JWRN_HIT_MARKER)
        reinterpret_cast<Errors*>(info->err)->lacksData = true;
}

void JpegPass::setSource() {
    _source.manager.init_source = [](j_decompress_ptr) {
    };
    _source.manager.term_source = [](j_decompress_ptr) {
    };
    _source.manager.fill_input_buffer = fill;
    _source.manager.skip_input_data = pass;
    _source.manager.resync_to_restart = jpeg_resync_to_restart;
    _info.src = &_source.manager;
}

bool JpegPass::open(InputDevice& device) {
    const auto exit = _errors.manager.error_exit;
    _info.err = jpeg_std_error(&_errors.manager);
    _errors.manager.error_exit = exit;
    _errors.manager.emit_message = note;
    return guarded(device, [this] {
        jpeg_create_decompress(&_info);
        setSource();
        _info.mem->max_memory_to_use = kCoefficientBytes;
        jpeg_save_markers(&_info, JPEG_APP0 + 2, kProfileBytesOfMarker);
        jpeg_read_header(&_info, TRUE);
    });
}

bool JpegPass::start(InputDevice& device, int level) {
    return guarded(device,
                   [this, level] {
                       switch (_info.jpeg_color_space) {
                           case JCS_GRAYSCALE:
                               _info.out_color_space = JCS_GRAYSCALE;
                               break;
                           case JCS_CMYK:
                           case JCS_YCCK:
                               _info.out_color_space = JCS_CMYK;
                               break;
                           default:
                               _info.out_color_space =
                                   Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? JCS_EXT_BGRA : JCS_EXT_ARGB;
                       }
                       _info.scale_num = 1;
                       _info.scale_denom = 1U << level;
                       jpeg_start_decompress(&_info);
                   }) &&
           !isCut();
}

QColorSpace JpegPass::profile(InputDevice& device) {
    JOCTET* bytes = nullptr;
    unsigned size = 0;
    QColorSpace profile;
    if (_info.jpeg_color_space != JCS_CMYK && _info.jpeg_color_space != JCS_YCCK &&
        guarded(device, [&] { jpeg_read_icc_profile(&_info, &bytes, &size); }) && bytes)
        profile = QColorSpace::fromIccProfile(
            QByteArray::fromRawData(reinterpret_cast<const char*>(bytes), qsizetype(size)));
    std::free(bytes);
    return profile;
}

QImage::Format JpegPass::format() const {
    return _info.out_color_space == JCS_GRAYSCALE ? QImage::Format_Grayscale8 : QImage::Format_RGB32;
}

bool JpegPass::skip(InputDevice& device, int rows) {
    return rows == 0 || guarded(device, [this, rows] {
               for (auto left = static_cast<JDIMENSION>(rows); left > 0;) {
                   const JDIMENSION skipped = jpeg_skip_scanlines(&_info, left);
                   left -= skipped;
                   if (skipped == 0)
                       break;
               }
           });
}

bool JpegPass::read(InputDevice& device, QImage& into) {
    const bool hasInks = _info.out_color_space == JCS_CMYK;
    if (hasInks)
        _inks.resize(qsizetype(_info.output_width) * 4);
    for (int y = 0; y < into.height(); ++y) {
        JSAMPROW row = hasInks ? reinterpret_cast<JSAMPROW>(_inks.data()) : into.scanLine(y);
        JDIMENSION count = 0;
        if (!guarded(device, [&] { count = jpeg_read_scanlines(&_info, &row, 1); }) || count != 1 || isCut())
            return false;
        if (!hasInks)
            continue;
        auto* pixels = reinterpret_cast<QRgb*>(into.scanLine(y));
        for (int x = 0; x < into.width(); ++x) {  // inverted, as all writers leave them
            const JSAMPLE* ink = row + qsizetype(x) * 4;
            pixels[x] = qRgb(ink[0] * ink[3] / 255, ink[1] * ink[3] / 255, ink[2] * ink[3] / 255);
        }
    }
    return true;
}

}  // namespace

std::unique_ptr<RegionSource> openJpegRegions(InputDevice& device) {
    JpegPass head;
    if (!head.open(device))
        return nullptr;
    const QByteArray bytes = device.head(kLargestHead);
    SequentialRegions::Picture picture;
    picture.size = head.fullSize();
    picture.transformation = transformationOfOrientation(readExifBlock(readJpegHead(bytes).exif).orientation);
    picture.profile = head.profile(device);
    return std::make_unique<SequentialRegions>(
        picture, [](InputDevice& file, int level) -> std::unique_ptr<RowPass> {
            auto pass = std::make_unique<JpegPass>();
            const int own = std::min(level, kMaximumOwnLevel);
            if (!pass->open(file) || !pass->start(file, own))
                return nullptr;
            if (own == level)
                return pass;
            return std::make_unique<ShrinkingPass>(std::move(pass), level - own);
        });
}

}  // namespace decoder
