// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/properties/GeneralProperties.h"

#include "decoder/ByteReader.h"
#include "decoder/properties/ExifProperties.h"
#include "decoder/properties/HeaderSize.h"

#include <exiv2/exiv2.hpp>
#include <exiv2/webpimage.hpp>

#include <QStringDecoder>

#include <algorithm>
#include <cmath>

namespace decoder {

namespace {

using platform::PropertyDictionary;
using platform::PropertyValue;

/// What a format's own header says of the samples and of the resolution (dots an inch).
struct Samples {
    std::optional<int> depth;
    const char* colorModel = nullptr;
    std::optional<bool> hasAlpha;
    double dpiWidth = 0;
    double dpiHeight = 0;
    std::int64_t width = 0;  ///< pixels; 0 where the library's figure is right
    std::int64_t height = 0;
};

constexpr double kInchesPerMetre = 1 / 0.0254;
constexpr double kCentimetresPerInch = 2.54;

/// A resolution stored in dots a metre is a rounded one: 2835 is 72.
double tidyResolution(double dpi) {
    const double rounded = std::round(dpi);
    return std::abs(dpi - rounded) < 0.02 ? rounded : std::round(dpi * 1000) / 1000;
}

/// Source: ITU-T T.81, B.2; JFIF 1.02.
Samples samplesOfJpeg(const ByteReader& reader) {
    Samples samples;
    for (std::uint64_t at = 2;;) {
        const auto introducer = reader.u8(at);
        const auto marker = reader.u8(at + 1);
        if (!marker || *introducer != 0xff)
            return samples;
        if (*marker == 0xff) {  // fill byte
            ++at;
            continue;
        }
        const auto length = reader.u16(at + 2);
        if (!length || *length < 2 || *marker == 0xda || *marker == 0xd9)
            return samples;
        const auto content = reader.part(at + 4, *length - 2U);
        if (*marker == 0xe0 && content && content->startsWith(QByteArrayView("JFIF\0", 5))) {
            const ByteReader jfif(*content);
            const double unit = jfif.u8(7) == 1 ? 1 : jfif.u8(7) == 2 ? kCentimetresPerInch : 0;
            samples.dpiWidth = unit * jfif.u16(8).value_or(0);
            samples.dpiHeight = unit * jfif.u16(10).value_or(0);
        }
        const bool frame =
            *marker >= 0xc0 && *marker <= 0xcf && *marker != 0xc4 && *marker != 0xc8 && *marker != 0xcc;
        if (frame) {
            const int components = reader.u8(at + 9).value_or(0);
            samples.depth = reader.u8(at + 4);
            samples.colorModel = components == 1   ? "Gray"
                                 : components == 3 ? "RGB"
                                 : components == 4 ? "CMYK"
                                                   : nullptr;
            samples.hasAlpha = false;
            return samples;
        }
        at += 2U + *length;
    }
}

/// Source: PNG, third edition, 11.2.1, 11.3.1.1 and 11.3.4.3.
Samples samplesOfPng(const ByteReader& reader) {
    Samples samples;
    const int colourType = reader.u8(25).value_or(0);
    samples.depth = colourType == 3 ? 8 : reader.u8(24).value_or(0);
    samples.colorModel = (colourType & 2) != 0 ? "RGB" : "Gray";
    samples.hasAlpha = (colourType & 4) != 0;
    for (std::uint64_t at = 8;;) {
        const auto length = reader.u32(at);
        const auto type = reader.part(at + 4, 4);
        if (!length || !type || *type == "IDAT")
            return samples;
        if (*type == "tRNS")
            samples.hasAlpha = true;
        if (*type == "pHYs" && reader.u8(at + 16) == 1) {
            samples.dpiWidth = reader.u32(at + 8).value_or(0) / kInchesPerMetre;
            samples.dpiHeight = reader.u32(at + 12).value_or(0) / kInchesPerMetre;
        }
        at += 12 + std::uint64_t(*length);
    }
}

/// Source: GIF 89a, 23.
Samples samplesOfGif(const ByteReader& reader) {
    constexpr qsizetype kHeadBytes = qsizetype{64} * 1024;
    const QByteArrayView head = reader.bytes().first(std::min(kHeadBytes, reader.size()));
    const qsizetype control = head.indexOf(QByteArrayView("\x21\xf9\x04"));
    Samples samples{8, "RGB", false};
    if (control >= 0)
        samples.hasAlpha = (reader.u8(static_cast<std::uint64_t>(control) + 3).value_or(0) & 1) != 0;
    return samples;
}

/// The library knows neither the oldest header nor that a negative height means rows from the top.
Samples samplesOfBmp(QByteArrayView file) {
    constexpr std::uint32_t kOldestHeader = 12;
    const ByteReader reader(file, ByteOrder::little);
    const bool oldest = reader.u32(14) == kOldestHeader;
    Samples samples;
    samples.colorModel = "RGB";
    samples.depth = 8;
    samples.hasAlpha = reader.u16(28) == 32 && !oldest;
    if (oldest) {
        samples.width = reader.u16(18).value_or(0);
        samples.height = reader.u16(20).value_or(0);
        return samples;
    }
    samples.width = static_cast<std::int32_t>(reader.u32(18).value_or(0));
    samples.height = std::abs(std::int64_t(static_cast<std::int32_t>(reader.u32(22).value_or(0))));
    samples.depth = reader.u16(28) == 16 ? 5 : 8;
    samples.dpiWidth = reader.u32(38).value_or(0) / kInchesPerMetre;
    samples.dpiHeight = reader.u32(42).value_or(0) / kInchesPerMetre;
    return samples;
}

/// Source: WebP container specification; WebP lossless bitstream specification, 3.
Samples samplesOfWebp(const ByteReader& reader) {
    Samples samples{8, "RGB", false};
    const auto type = reader.part(12, 4);
    if (type && *type == "VP8X")
        samples.hasAlpha = (reader.u8(20).value_or(0) & 0x10) != 0;
    if (type && *type == "VP8L")
        samples.hasAlpha = (reader.u8(24).value_or(0) & 0x10) != 0;
    return samples;
}

/// Source: TIFF 6.0, PhotometricInterpretation and ExtraSamples.
Samples samplesOfTiff(const Exiv2::ExifData& exif) {
    Samples samples;
    if (const auto depth = exifNumber(exif, "Exif.Image.BitsPerSample"))
        samples.depth = static_cast<int>(*depth);
    switch (static_cast<int>(exifNumber(exif, "Exif.Image.PhotometricInterpretation").value_or(-1))) {
        case 0:
        case 1:
            samples.colorModel = "Gray";
            break;
        case 2:
        case 3:
        case 6:
            samples.colorModel = "RGB";
            break;
        case 5:
            samples.colorModel = "CMYK";
            break;
        case 8:
        case 9:
            samples.colorModel = "Lab";
            break;
        default:
            return samples;
    }
    const int extra = static_cast<int>(exifNumber(exif, "Exif.Image.ExtraSamples").value_or(0));
    samples.hasAlpha = extra == 1 || extra == 2;
    return samples;
}

/// Source: Adobe Photoshop File Formats Specification, file header.
Samples samplesOfPsd(const ByteReader& reader) {
    Samples samples;
    const int channels = reader.u16(12).value_or(0);
    const int mode = reader.u16(24).value_or(0);
    samples.depth = reader.u16(22);
    samples.colorModel = mode == 1                ? "Gray"
                         : mode == 2 || mode == 3 ? "RGB"
                         : mode == 4              ? "CMYK"
                         : mode == 9              ? "Lab"
                                                  : nullptr;
    samples.hasAlpha = channels > (mode == 1 || mode == 2 ? 1 : mode == 4 ? 4 : 3);
    return samples;
}

Samples samplesOf(int imageType, const QByteArray& file, const Exiv2::ExifData& exif) {
    switch (imageType) {
        case Exiv2::ImageType::jpeg:
            return samplesOfJpeg(ByteReader(file));
        case Exiv2::ImageType::png:
            return samplesOfPng(ByteReader(file));
        case Exiv2::ImageType::gif:
            return samplesOfGif(ByteReader(file));
        case Exiv2::ImageType::bmp:
            return samplesOfBmp(file);
        case Exiv2::ImageType::webp:
            return samplesOfWebp(ByteReader(file));
        case Exiv2::ImageType::psd:
            return samplesOfPsd(ByteReader(file));
        case Exiv2::ImageType::tiff:
            return samplesOfTiff(exif);
        default:
            return {};
    }
}

void noteResolution(Samples& samples, const Exiv2::ExifData& exif) {
    const double unit = exifNumber(exif, "Exif.Image.ResolutionUnit").value_or(2);
    const double factor = unit == 2 ? 1 : unit == 3 ? kCentimetresPerInch : 0;
    const double width = factor * exifNumber(exif, "Exif.Image.XResolution").value_or(0);
    const double height = factor * exifNumber(exif, "Exif.Image.YResolution").value_or(0);
    if (width > 0 && height > 0) {
        samples.dpiWidth = width;
        samples.dpiHeight = height;
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

QString describedProfile(const ByteReader& tag) {
    const auto type = tag.part(0, 4);
    if (type && *type == "desc") {
        const auto text = tag.part(12, tag.u32(8).value_or(0));
        const auto shown = text ? text->first(std::max<qsizetype>(0, text->indexOf('\0'))) : QByteArrayView();
        return QString::fromLatin1(shown);
    }
    if (!type || *type != "mluc")
        return {};
    const std::uint32_t count = std::min<std::uint32_t>(tag.u32(8).value_or(0), 64);
    const std::uint64_t recordSize = std::max<std::uint32_t>(12, tag.u32(12).value_or(12));
    QString name;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint64_t at = 16 + i * recordSize;
        const auto text = tag.part(tag.u32(at + 8).value_or(0), tag.u32(at + 4).value_or(0));
        const bool english = tag.part(at, 2) == QByteArrayView("en");
        if (text && (name.isEmpty() || english))
            name = QStringDecoder(QStringDecoder::Utf16BE)(*text);
        if (english)
            break;
    }
    return name.left(name.indexOf(QChar::Null));
}

}  // namespace

QString profileName(QByteArrayView profile) {
    const ByteReader reader(profile);
    const std::uint32_t count = std::min<std::uint32_t>(reader.u32(128).value_or(0), 256);
    for (std::uint64_t at = 132; at < 132 + std::uint64_t(count) * 12; at += 12) {
        const auto signature = reader.part(at, 4);
        const auto tag = reader.part(reader.u32(at + 4).value_or(0), reader.u32(at + 8).value_or(0));
        if (signature && *signature == "desc" && tag)
            return describedProfile(ByteReader(*tag)).trimmed();
    }
    return {};
}

PropertyDictionary generalProperties(Exiv2::Image& image, const QByteArray& file) {
    const Exiv2::ExifData& exif = image.exifData();
    Samples samples = samplesOf(image.imageType(), file, exif);
    noteResolution(samples, exif);
    PropertyDictionary properties;
    const auto add = [&](const char* key, auto value) {
        properties.emplace_back(QString::fromLatin1(key), PropertyValue(std::move(value)));
    };
    if (const QSize size = headerSize(file); size.isValid()) {
        samples.width = size.width();
        samples.height = size.height();
    }
    const std::int64_t width = samples.width > 0 ? samples.width : image.pixelWidth();
    const std::int64_t height = samples.height > 0 ? samples.height : image.pixelHeight();
    if (width > 0 && height > 0) {
        add("PixelWidth", width);
        add("PixelHeight", height);
    }
    if (samples.dpiWidth > 0 && samples.dpiHeight > 0) {
        add("DPIWidth", tidyResolution(samples.dpiWidth));
        add("DPIHeight", tidyResolution(samples.dpiHeight));
    }
    if (samples.depth)
        add("Depth", *samples.depth);
    if (samples.colorModel)
        add("ColorModel", QString::fromLatin1(samples.colorModel));
    if (samples.hasAlpha)
        add("HasAlpha", *samples.hasAlpha ? 1 : 0);
    if (const auto orientation = exifNumber(exif, "Exif.Image.Orientation"))
        add("Orientation", static_cast<int>(*orientation));
    const QString profile = profileNameOf(image);
    if (!profile.isEmpty())
        add("ProfileName", profile);
    return properties;
}

}  // namespace decoder
