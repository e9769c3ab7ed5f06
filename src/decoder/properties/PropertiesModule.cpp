// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/properties/PropertiesModule.h"

#include "decoder/properties/DeviceIo.h"
#include "decoder/properties/ExifProperties.h"
#include "decoder/properties/GeneralProperties.h"
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

PropertyDictionary readWithLibrary(QIODevice& file, Header header) {
    auto input = std::make_unique<DeviceIo>(file);
    const int type = Exiv2::ImageFactory::getType(*input);
    if (std::ranges::find(kPictureTypes, type) == kPictureTypes.end())
        return generalProperties(header);
    const auto image = Exiv2::ImageFactory::open(Exiv2::BasicIo::AutoPtr(input.release()));
    readAsFarAsPossible(*image);
    correctHeader(header, *image);
    PropertyDictionary properties = generalProperties(header);
    addNested(properties, "{IPTC}", iptcProperties(image->iptcData()));
    addNested(properties, "{Exif}", exifProperties(image->exifData()));
    return properties;
}

std::optional<PropertyDictionary> readProperties(QIODevice& file) {
    const Header header = readHeader(FileReader(file));
    PropertyDictionary properties;
    try {
        properties = readWithLibrary(file, header);
    } catch (const std::exception&) {
        properties = generalProperties(header);
    }
    return properties.empty() ? std::nullopt : std::optional(std::move(properties));
}

}  // namespace

}  // namespace decoder

extern "C" __attribute__((visibility("default"))) decoder::ReadProperties tavlinProperties() {
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    Exiv2::enableBMFF();
    Exiv2::XmpParser::initialize();
    return decoder::readProperties;
}
