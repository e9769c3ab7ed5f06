// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/rare/RareFormats.h"

#include <QColorSpace>

#include <libheif/heif.h>

#include <algorithm>
#include <array>
#include <memory>

namespace decoder {

namespace {

template <auto Release>
struct Releaser {
    template <typename Object>
    void operator()(Object* object) const {
        Release(object);
    }
};
using Context = std::unique_ptr<heif_context, Releaser<heif_context_free>>;
using Handle = std::unique_ptr<heif_image_handle, Releaser<heif_image_handle_release>>;
using Pixels = std::unique_ptr<heif_image, Releaser<heif_image_release>>;
using Primaries = std::unique_ptr<heif_color_profile_nclx, Releaser<heif_nclx_color_profile_free>>;

/// The loader's words for what went wrong.
Failure failureOf(const heif_error& error) {
    const bool tooLarge = error.code == heif_error_Memory_allocation_error ||
                          error.subcode == heif_suberror_Security_limit_exceeded;
    return {tooLarge ? Status::tooLarge : Status::damaged, error.message};
}

QSize sizeOf(const heif_image_handle* handle) {
    return {heif_image_handle_get_width(handle), heif_image_handle_get_height(handle)};
}

/// The smallest thumbnail inside the file that is large enough and of the picture's shape; null without one.
Handle thumbnailFor(const heif_image_handle* picture, int pixelSize) {
    constexpr int kMaximumThumbnails = 8;
    constexpr double kShapeTolerance = 0.03;
    std::array<heif_item_id, kMaximumThumbnails> ids{};
    const int count = heif_image_handle_get_list_of_thumbnail_IDs(picture, ids.data(), kMaximumThumbnails);
    const double shape = double(sizeOf(picture).width()) / sizeOf(picture).height();
    Handle best;
    for (int i = 0; i < count; ++i) {
        heif_image_handle* found = nullptr;
        if (heif_image_handle_get_thumbnail(picture, ids[static_cast<std::size_t>(i)], &found).code !=
            heif_error_Ok)
            continue;
        Handle thumbnail(found);
        const QSize size = sizeOf(found);
        const bool large = std::max(size.width(), size.height()) >= pixelSize && !size.isEmpty();
        const bool sameShape =
            large && std::abs(double(size.width()) / size.height() / shape - 1) <= kShapeTolerance;
        if (sameShape && (!best || size.width() < sizeOf(best.get()).width()))
            best = std::move(thumbnail);
    }
    return best;
}

/// The code points of ITU-T H.273 that Qt knows; invalid for others, which are then taken for sRGB.
QColorSpace spaceOfCodePoints(const heif_color_profile_nclx& profile) {
    QColorSpace::Primaries primaries = QColorSpace::Primaries::SRgb;
    if (profile.color_primaries == heif_color_primaries_SMPTE_EG_432_1)
        primaries = QColorSpace::Primaries::DciP3D65;
    else if (profile.color_primaries != heif_color_primaries_ITU_R_BT_709_5)
        return {};
    switch (profile.transfer_characteristics) {
        case heif_transfer_characteristic_linear:
            return QColorSpace(primaries, QColorSpace::TransferFunction::Linear);
        case heif_transfer_characteristic_ITU_R_BT_470_6_System_M:
            return QColorSpace(primaries, 2.2f);
        case heif_transfer_characteristic_ITU_R_BT_470_6_System_B_G:
            return QColorSpace(primaries, 2.8f);
        default:
            return QColorSpace(primaries, QColorSpace::TransferFunction::SRgb);
    }
}

QColorSpace colorSpaceOf(const heif_image_handle* handle) {
    constexpr std::size_t kLargestProfile = 16 << 20;
    const std::size_t size = heif_image_handle_get_raw_color_profile_size(handle);
    if (size > 0 && size <= kLargestProfile) {
        QByteArray profile(static_cast<qsizetype>(size), Qt::Uninitialized);
        if (heif_image_handle_get_raw_color_profile(handle, profile.data()).code == heif_error_Ok) {
            QColorSpace space = QColorSpace::fromIccProfile(profile);
            if (space.isValid())
                return space;
        }
    }
    heif_color_profile_nclx* found = nullptr;
    if (heif_image_handle_get_nclx_color_profile(handle, &found).code != heif_error_Ok || !found)
        return {};
    return spaceOfCodePoints(*Primaries(found));
}

RareResult decodeHandle(const heif_image_handle* handle) {
    const bool alpha = heif_image_handle_has_alpha_channel(handle) != 0;
    heif_image* decoded = nullptr;
    const heif_error error =
        heif_decode_image(handle, &decoded, heif_colorspace_RGB,
                          alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB, nullptr);
    if (error.code != heif_error_Ok)
        return failureOf(error);
    const Pixels pixels(decoded);
    int stride = 0;
    const auto* bytes = heif_image_get_plane_readonly(decoded, heif_channel_interleaved, &stride);
    const QSize size(heif_image_get_width(decoded, heif_channel_interleaved),
                     heif_image_get_height(decoded, heif_channel_interleaved));
    if (!bytes || size.isEmpty() || stride < size.width() * (alpha ? 4 : 3))
        return Failure{Status::damaged, {}};
    const QImage view(bytes, size.width(), size.height(), stride,
                      alpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888);
    QImage image = view.convertToFormat(alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    if (image.isNull())
        return Failure{Status::tooLarge, {}};
    image.setColorSpace(colorSpaceOf(handle));
    return RareImage{image, size};
}

}  // namespace

/// The library applies rotation and mirroring itself; an EXIF orientation beside them is to be ignored
/// (ISO/IEC 23008-12, annex A).
RareResult decodeHeif(const QByteArray& content, int pixelSize) {
    const Context context(heif_context_alloc());
    heif_context_set_max_decoding_threads(context.get(), 1);
    heif_error error = heif_context_read_from_memory_without_copy(
        context.get(), content.constData(), static_cast<std::size_t>(content.size()), nullptr);
    if (error.code != heif_error_Ok)
        return failureOf(error);
    heif_image_handle* found = nullptr;
    error = heif_context_get_primary_image_handle(context.get(), &found);
    if (error.code != heif_error_Ok)
        return failureOf(error);
    const Handle picture(found);
    const QSize size = sizeOf(found);
    if (size.isEmpty())
        return Failure{Status::damaged, {}};
    if (qint64(size.width()) * size.height() > kMaximumPixelBytes / 4)
        return Failure{Status::tooLarge, {}};
    if (const Handle thumbnail = thumbnailFor(found, pixelSize)) {
        RareResult result = decodeHandle(thumbnail.get());
        if (auto* image = std::get_if<RareImage>(&result)) {
            image->fullSize = size;
            return result;
        }
    }
    return decodeHandle(found);
}

}  // namespace decoder
