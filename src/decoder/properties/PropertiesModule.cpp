// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/properties/PropertiesModule.h"

#include "decoder/properties/ExifProperties.h"
#include "decoder/properties/GeneralProperties.h"
#include "decoder/properties/HeaderSize.h"
#include "decoder/properties/IptcProperties.h"

#include <exiv2/exiv2.hpp>
#include <exiv2/webpimage.hpp>

#include <algorithm>
#include <array>

namespace decoder {

namespace {

using platform::PropertyDictionary;
using platform::PropertyValue;

/// Pictures, told by content. The library's readers of films and of PostScript crash and hang on hostile
/// files, whatever their names are, and are never reached.
constexpr std::array kPictureTypes{
    Exiv2::ImageType::jpeg, Exiv2::ImageType::png,  Exiv2::ImageType::tiff, Exiv2::ImageType::gif,
    Exiv2::ImageType::bmp,  Exiv2::ImageType::webp, Exiv2::ImageType::psd,  Exiv2::ImageType::jp2,
    Exiv2::ImageType::bmff, Exiv2::ImageType::cr2,  Exiv2::ImageType::crw,  Exiv2::ImageType::mrw,
    Exiv2::ImageType::orf,  Exiv2::ImageType::raf,  Exiv2::ImageType::rw2,
};

void addNested(PropertyDictionary& properties, const char* key, PropertyDictionary nested) {
    if (!nested.empty())
        properties.emplace_back(QString::fromLatin1(key), PropertyValue::Dictionary{std::move(nested)});
}

/// A damaged file, or one with a part that the library does not know, keeps what was read before.
void readAsFarAsPossible(Exiv2::Image& image) {
    try {
        image.readMetadata();
    } catch (const std::exception&) {
    }
}

std::optional<PropertyDictionary> readFile(const QByteArray& file) {
    auto memory = std::make_unique<Exiv2::MemIo>(reinterpret_cast<const Exiv2::byte*>(file.constData()),
                                                 static_cast<long>(file.size()));
    const int type = Exiv2::ImageFactory::getType(*memory);
    if (std::ranges::find(kPictureTypes, type) == kPictureTypes.end())
        return std::nullopt;
    const auto image = Exiv2::ImageFactory::open(Exiv2::BasicIo::AutoPtr(memory.release()));
    readAsFarAsPossible(*image);
    PropertyDictionary properties = generalProperties(*image, file);
    addNested(properties, "{IPTC}", iptcProperties(image->iptcData()));
    addNested(properties, "{Exif}", exifProperties(image->exifData()));
    return properties;
}

/// Of a picture that the library does not know.
std::optional<PropertyDictionary> readHeader(const QByteArray& file) {
    const QSize size = headerSize(file);
    if (!size.isValid())
        return std::nullopt;
    return PropertyDictionary{{QStringLiteral("PixelWidth"), size.width()},
                              {QStringLiteral("PixelHeight"), size.height()}};
}

std::optional<PropertyDictionary> readProperties(const QByteArray& file) {
    try {
        if (auto properties = readFile(file))
            return properties;
    } catch (const std::exception&) {
    }
    return readHeader(file);
}

}  // namespace

}  // namespace decoder

extern "C" __attribute__((visibility("default"))) decoder::ReadProperties tavlinProperties() {
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    Exiv2::enableBMFF();
    Exiv2::XmpParser::initialize();
    return decoder::readProperties;
}
