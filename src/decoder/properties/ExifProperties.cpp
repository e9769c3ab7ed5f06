// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/properties/ExifProperties.h"

#include <exiv2/exif.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace decoder {

namespace {

using platform::PropertyDictionary;
using platform::PropertyValue;

constexpr long kMaximumElements = 64;  // more are a table, not something to read

constexpr std::array<std::string_view, 2> kAlwaysArrays{"ISOSpeedRatings", "SubjectArea"};
constexpr std::array<std::string_view, 2> kVersions{"ExifVersion", "FlashpixVersion"};
constexpr std::array<std::string_view, 3> kByteLists{"ComponentsConfiguration", "FileSource", "SceneType"};

bool isAmong(const auto& names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

bool isWhole(Exiv2::TypeId type) {
    return type != Exiv2::unsignedRational && type != Exiv2::signedRational && type != Exiv2::tiffFloat &&
           type != Exiv2::tiffDouble;
}

bool isNumeric(Exiv2::TypeId type) {
    return type == Exiv2::unsignedByte || type == Exiv2::signedByte || type == Exiv2::unsignedShort ||
           type == Exiv2::signedShort || type == Exiv2::unsignedLong || type == Exiv2::signedLong ||
           !isWhole(type);
}

QString trimmedText(const std::string& bytes) {
    const auto end = bytes.find('\0');
    const QByteArrayView shown(bytes.data(), qsizetype(end == std::string::npos ? bytes.size() : end));
    const QString text = QString::fromUtf8(shown);
    return (text.contains(QChar::ReplacementCharacter) ? QString::fromLatin1(shown) : text).trimmed();
}

std::optional<PropertyValue> element(const Exiv2::Exifdatum& datum, long index) {
    const auto number = exifNumber(datum, index);
    if (!number)
        return std::nullopt;
    if (isWhole(datum.typeId()))
        return PropertyValue(static_cast<std::int64_t>(*number));
    return PropertyValue(*number);
}

std::optional<PropertyValue> arrayOf(const Exiv2::Exifdatum& datum, const auto& elementAt) {
    PropertyValue::Array array{{}, PropertyValue::ArrayKind::plain};
    const long count = std::min<long>(static_cast<long>(datum.count()), kMaximumElements);
    for (long i = 0; i < count; ++i) {
        if (auto value = elementAt(i))
            array.elements.push_back(std::move(*value));
    }
    return array.elements.empty() ? std::nullopt : std::optional(PropertyValue(std::move(array)));
}

/// "0232" is version 2.3.2.
std::optional<PropertyValue> versionOf(const Exiv2::Exifdatum& datum) {
    return arrayOf(datum, [&](long i) -> std::optional<PropertyValue> {
        const long digit = datum.toLong(i) - '0';
        const bool idle = digit == 0 && (i == 0 || i == static_cast<long>(datum.count()) - 1);
        return digit < 0 || digit > 9 || idle ? std::nullopt
                                              : std::optional(PropertyValue(std::int64_t{digit}));
    });
}

std::optional<PropertyValue> commentOf(const Exiv2::Exifdatum& datum) {
    const auto* comment = dynamic_cast<const Exiv2::CommentValue*>(&datum.value());
    const QString text = comment ? trimmedText(comment->comment()) : QString();
    return text.isEmpty() ? std::nullopt : std::optional(PropertyValue(text));
}

std::optional<PropertyValue> valueOf(const Exiv2::Exifdatum& datum) {
    const std::string name = datum.tagName();
    const Exiv2::TypeId type = datum.typeId();
    if (type == Exiv2::comment || name == "UserComment")
        return commentOf(datum);
    if (isAmong(kVersions, name))
        return versionOf(datum);
    if (type == Exiv2::asciiString) {
        const QString text = trimmedText(datum.toString());
        return text.isEmpty() ? std::nullopt : std::optional(PropertyValue(text));
    }
    const bool bytes = type == Exiv2::undefined && isAmong(kByteLists, name);
    if (!isNumeric(type) && !bytes)
        return std::nullopt;
    if (datum.count() > kMaximumElements)
        return std::nullopt;
    if (datum.count() == 1 && !isAmong(kAlwaysArrays, name))
        return element(datum, 0);
    return arrayOf(datum, [&](long i) { return element(datum, i); });
}

/// The names under which photographers know these tags, where the library's differ.
QString keyOf(const Exiv2::Exifdatum& datum) {
    const std::string name = datum.tagName();
    if (name == "FocalLengthIn35mmFilm")
        return QStringLiteral("FocalLenIn35mmFilm");
    if (name == "FlashpixVersion")
        return QStringLiteral("FlashPixVersion");
    if (name.starts_with("SubSecTime"))
        return QStringLiteral("SubsecTime") + QString::fromLatin1(name.substr(10).c_str());
    return QString::fromUtf8(name.c_str());
}

bool isForPeople(const Exiv2::Exifdatum& datum) {
    const std::string name = datum.tagName();
    return datum.groupName() == "Photo" && name != "MakerNote" && name != "InteroperabilityTag" &&
           name != "Padding" && !name.starts_with("0x");
}

}  // namespace

std::optional<double> exifNumber(const Exiv2::Exifdatum& datum, long index) {
    if (index < 0 || index >= static_cast<long>(datum.count()))
        return std::nullopt;
    const Exiv2::TypeId type = datum.typeId();
    if (type == Exiv2::unsignedRational || type == Exiv2::signedRational) {
        const Exiv2::Rational rational = datum.toRational(index);
        if (rational.second == 0)
            return std::nullopt;
        if (type == Exiv2::signedRational)
            return double(rational.first) / double(rational.second);
        return double(static_cast<std::uint32_t>(rational.first)) /
               double(static_cast<std::uint32_t>(rational.second));
    }
    if (type == Exiv2::tiffFloat || type == Exiv2::tiffDouble) {
        const double number = datum.toFloat(index);
        return std::isfinite(number) ? std::optional(number) : std::nullopt;
    }
    if (type == Exiv2::unsignedLong)
        return double(static_cast<std::uint32_t>(datum.toLong(index)));
    return double(datum.toLong(index));
}

std::optional<double> exifNumber(const Exiv2::ExifData& data, const char* key) {
    const auto found = data.findKey(Exiv2::ExifKey(key));
    return found == data.end() ? std::nullopt : exifNumber(*found);
}

PropertyDictionary exifProperties(const Exiv2::ExifData& data) {
    PropertyDictionary properties;
    for (const Exiv2::Exifdatum& datum : data) {
        if (!isForPeople(datum))
            continue;
        if (auto value = valueOf(datum))
            properties.emplace_back(keyOf(datum), std::move(*value));
    }
    return properties;
}

}  // namespace decoder
