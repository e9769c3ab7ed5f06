// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/properties/GeneralProperties.h"

#include "decoder/properties/ExifProperties.h"
#include "decoder/properties/IccProfile.h"

#include <exiv2/exiv2.hpp>
#include <exiv2/webpimage.hpp>

#include <cmath>

namespace decoder {

namespace {

using platform::PropertyDictionary;
using platform::PropertyValue;

/// A resolution stored in dots a metre is a rounded one: 2835 is 72.
double tidyResolution(double dpi) {
    const double rounded = std::round(dpi);
    return std::abs(dpi - rounded) < 0.02 ? rounded : std::round(dpi * 1000) / 1000;
}

void noteResolution(Header& header, const Exiv2::ExifData& exif) {
    const double unit = exifNumber(exif, "Exif.Image.ResolutionUnit").value_or(2);
    const double factor = unit == 2 ? 1 : unit == 3 ? kCentimetresPerInch : 0;
    const double width = factor * exifNumber(exif, "Exif.Image.XResolution").value_or(0);
    const double height = factor * exifNumber(exif, "Exif.Image.YResolution").value_or(0);
    if (width > 0 && height > 0) {
        header.dpiWidth = width;
        header.dpiHeight = height;
    }
}

QString profileNameOf(Exiv2::Image& image) {
    if (const Exiv2::DataBuf* profile = image.iccProfile(); profile && profile->size_ > 0)
        return profileName(QByteArrayView(profile->pData_, profile->size_));
    const auto tag = image.exifData().findKey(Exiv2::ExifKey("Exif.Image.InterColorProfile"));
    if (tag == image.exifData().end())
        return {};
    QByteArray bytes(qsizetype(tag->size()), '\0');
    tag->copy(reinterpret_cast<Exiv2::byte*>(bytes.data()), Exiv2::bigEndian);
    return profileName(bytes);
}

}  // namespace

void correctHeader(Header& header, Exiv2::Image& image) {
    noteResolution(header, image.exifData());
    // The first directory of a raw file may be that of a small preview.
    const bool isDirectory = image.imageType() == Exiv2::ImageType::tiff;
    if (image.pixelWidth() > 0 && image.pixelHeight() > 0 && (isDirectory || !header.size.isValid()))
        header.size = {image.pixelWidth(), image.pixelHeight()};
    if (const auto orientation = exifNumber(image.exifData(), "Exif.Image.Orientation"))
        header.orientation = static_cast<int>(*orientation);
    if (const QString name = profileNameOf(image); !name.isEmpty())
        header.profileName = name;
}

PropertyDictionary generalProperties(const Header& header) {
    PropertyDictionary properties;
    const auto add = [&](const char* key, auto value) {
        properties.emplace_back(QString::fromLatin1(key), PropertyValue(std::move(value)));
    };
    if (header.size.isValid()) {
        add("PixelWidth", header.size.width());
        add("PixelHeight", header.size.height());
    }
    if (header.dpiWidth > 0 && header.dpiHeight > 0) {
        add("DPIWidth", tidyResolution(header.dpiWidth));
        add("DPIHeight", tidyResolution(header.dpiHeight));
    }
    if (header.depth)
        add("Depth", *header.depth);
    if (header.colorModel)
        add("ColorModel", QString::fromLatin1(header.colorModel));
    if (header.hasAlpha)
        add("HasAlpha", *header.hasAlpha ? 1 : 0);
    if (header.orientation)
        add("Orientation", *header.orientation);
    if (!header.profileName.isEmpty())
        add("ProfileName", header.profileName);
    return properties;
}

}  // namespace decoder
