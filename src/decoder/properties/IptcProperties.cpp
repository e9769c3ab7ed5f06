// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/properties/IptcProperties.h"

#include <QStringDecoder>

#include <exiv2/iptc.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace decoder {

namespace {

using platform::PropertyDictionary;
using platform::PropertyValue;

constexpr std::uint16_t kEditorialRecord = 2;

struct Dataset {
    std::uint16_t number;
    const char* name;
};

constexpr std::array kDatasets{
    Dataset{3, "ObjectTypeReference"},
    Dataset{4, "ObjectAttributeReference"},
    Dataset{5, "ObjectName"},
    Dataset{7, "EditStatus"},
    Dataset{8, "EditorialUpdate"},
    Dataset{10, "Urgency"},
    Dataset{12, "SubjectReference"},
    Dataset{15, "Category"},
    Dataset{20, "SupplementalCategory"},
    Dataset{22, "FixtureIdentifier"},
    Dataset{25, "Keywords"},
    Dataset{26, "ContentLocationCode"},
    Dataset{27, "ContentLocationName"},
    Dataset{30, "ReleaseDate"},
    Dataset{35, "ReleaseTime"},
    Dataset{37, "ExpirationDate"},
    Dataset{38, "ExpirationTime"},
    Dataset{40, "SpecialInstructions"},
    Dataset{42, "ActionAdvised"},
    Dataset{45, "ReferenceService"},
    Dataset{47, "ReferenceDate"},
    Dataset{50, "ReferenceNumber"},
    Dataset{55, "DateCreated"},
    Dataset{60, "TimeCreated"},
    Dataset{62, "DigitalCreationDate"},
    Dataset{63, "DigitalCreationTime"},
    Dataset{65, "OriginatingProgram"},
    Dataset{70, "ProgramVersion"},
    Dataset{75, "ObjectCycle"},
    Dataset{80, "Byline"},
    Dataset{85, "BylineTitle"},
    Dataset{90, "City"},
    Dataset{92, "SubLocation"},
    Dataset{95, "Province/State"},
    Dataset{100, "Country/PrimaryLocationCode"},
    Dataset{101, "Country/PrimaryLocationName"},
    Dataset{103, "OriginalTransmissionReference"},
    Dataset{105, "Headline"},
    Dataset{110, "Credit"},
    Dataset{115, "Source"},
    Dataset{116, "CopyrightNotice"},
    Dataset{118, "Contact"},
    Dataset{120, "Caption/Abstract"},
    Dataset{122, "Writer/Editor"},
    Dataset{130, "ImageType"},
    Dataset{131, "ImageOrientation"},
    Dataset{135, "LanguageIdentifier"},
};

/// The dataset's own bytes: the library would write dates in a form of its own.
QByteArray bytesOf(const Exiv2::Iptcdatum& datum) {
    QByteArray bytes(qsizetype(datum.size()), '\0');
    datum.copy(reinterpret_cast<Exiv2::byte*>(bytes.data()), Exiv2::bigEndian);
    while (bytes.endsWith('\0'))
        bytes.chop(1);
    return bytes;
}

QString textOf(const QByteArray& bytes, bool declaredUtf8) {
    QStringDecoder utf8(QStringDecoder::Utf8);
    const QString text = utf8(bytes);
    return declaredUtf8 || !utf8.hasError() ? text : QString::fromLatin1(bytes);
}

bool declaresUtf8(const Exiv2::IptcData& data) {
    constexpr std::uint16_t kEnvelopeRecord = 1;
    constexpr std::uint16_t kCodedCharacterSet = 90;
    const auto found = data.findId(kCodedCharacterSet, kEnvelopeRecord);
    return found != data.end() && bytesOf(*found) == "\x1b%G";
}

}  // namespace

PropertyDictionary iptcProperties(const Exiv2::IptcData& data) {
    const bool utf8 = declaresUtf8(data);
    std::vector<std::pair<const Dataset*, std::vector<PropertyValue>>> found;
    for (const Exiv2::Iptcdatum& datum : data) {
        const auto* dataset = std::ranges::find(kDatasets, datum.tag(), &Dataset::number);
        const QByteArray bytes = bytesOf(datum);
        if (datum.record() != kEditorialRecord || dataset == kDatasets.end() || bytes.isEmpty())
            continue;
        auto place = std::ranges::find(found, dataset, [](const auto& entry) { return entry.first; });
        if (place == found.end())
            place = found.insert(found.end(), {dataset, {}});
        place->second.emplace_back(textOf(bytes, utf8));
    }
    PropertyDictionary properties;
    for (auto& [dataset, values] : found) {
        PropertyValue value = values.front();
        if (values.size() > 1)
            value = PropertyValue::Array{std::move(values), PropertyValue::ArrayKind::ordinary};
        properties.emplace_back(QString::fromLatin1(dataset->name), std::move(value));
    }
    return properties;
}

}  // namespace decoder
