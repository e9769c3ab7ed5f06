// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/properties/IccProfile.h"

#include "decoder/ByteReader.h"

#include <QStringDecoder>

#include <algorithm>

namespace decoder {

namespace {

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
            return describedProfile(ByteReader(*tag)).simplified();
    }
    return {};
}

}  // namespace decoder
