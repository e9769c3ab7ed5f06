// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/packing/PackedProperties.h"

#include <cmath>
#include <cstring>

namespace decoder {

namespace {

using platform::PropertyDictionary;
using platform::PropertyValue;

constexpr char kText = 't';
constexpr char kInteger = 'i';
constexpr char kFloating = 'f';
constexpr char kOrdinaryArray = 'a';
constexpr char kPlainArray = 'p';
constexpr char kDictionary = 'd';

template <typename Number>
QByteArray packed(Number number) {
    return {reinterpret_cast<const char*>(&number), qsizetype(sizeof number)};
}

QByteArray packedText(const QString& text) {
    const QByteArray bytes = text.toUtf8();
    return packed(static_cast<std::uint32_t>(bytes.size())) + bytes;
}

/// Whether a character shows nothing itself but changes what stands around it.
bool isUnshowable(QChar character) {
    const char16_t code = character.unicode();
    const bool reorders = (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069) ||
                          code == 0x200e || code == 0x200f;
    return reorders || character.category() == QChar::Other_Control || code == 0x2028 || code == 0x2029;
}

class Packer {
 public:
    QByteArray dictionary(const PropertyDictionary& entries, int depth) {
        QByteArray content;
        std::uint32_t count = 0;
        for (const auto& [key, value] : entries) {
            const QByteArray bytes = packedValue(value, depth);
            if (bytes.isEmpty() || ++_values > kMaximumPropertyValues)
                continue;
            const QByteArray entry = packedText(key) + bytes;
            if (!fits(entry.size() + content.size()))
                continue;
            content += entry;
            ++count;
        }
        return packed(count) + content;
    }

 private:
    /// With room for what stands around.
    static bool fits(qsizetype bytes) { return quint64(bytes) < kMaximumPackedProperties - 256; }

    /// Empty for a value that cannot be packed.
    QByteArray packedValue(const PropertyValue& value, int depth) {
        const auto& variant = value.variant();
        if (const auto* text = std::get_if<QString>(&variant))
            return kText + packedText(*text);
        if (const auto* integer = std::get_if<std::int64_t>(&variant))
            return kInteger + packed(*integer);
        if (const auto* floating = std::get_if<double>(&variant))
            return std::isfinite(*floating) ? kFloating + packed(*floating) : QByteArray();
        if (depth + 1 >= kMaximumPropertyDepth)
            return {};
        if (const auto* dictionaryValue = value.dictionary())
            return kDictionary + dictionary(dictionaryValue->entries, depth + 1);
        if (const auto* arrayValue = value.array())
            return array(*arrayValue, depth + 1);
        return {};
    }
    QByteArray array(const PropertyValue::Array& array, int depth) {
        QByteArray content;
        std::uint32_t count = 0;
        for (const PropertyValue& element : array.elements) {
            const QByteArray bytes = packedValue(element, depth);
            if (bytes.isEmpty() || !fits(content.size() + bytes.size()) || ++_values > kMaximumPropertyValues)
                continue;
            content += bytes;
            ++count;
        }
        const char kind = array.kind == PropertyValue::ArrayKind::ordinary ? kOrdinaryArray : kPlainArray;
        return kind + packed(count) + content;
    }

    int _values = 0;
};

class Unpacker {
 public:
    explicit Unpacker(QByteArrayView bytes) : _bytes(bytes) {}

    std::optional<PropertyDictionary> whole() {
        auto entries = dictionary(0);
        return _bytes.isEmpty() ? std::move(entries) : std::nullopt;
    }

 private:
    template <typename Number>
    std::optional<Number> number() {
        Number value{};
        if (_bytes.size() < qsizetype(sizeof value))
            return std::nullopt;
        std::memcpy(&value, _bytes.data(), sizeof value);
        _bytes = _bytes.sliced(sizeof value);
        return value;
    }
    std::optional<QString> text() {
        const auto size = number<std::uint32_t>();
        if (!size || qsizetype(*size) > _bytes.size())
            return std::nullopt;
        QString shown = QString::fromUtf8(_bytes.first(*size));
        _bytes = _bytes.sliced(*size);
        for (QChar& character : shown) {
            if (isUnshowable(character))
                character = u' ';
        }
        return shown;
    }
    std::optional<PropertyDictionary> dictionary(int depth) {
        const auto count = number<std::uint32_t>();
        if (!count)
            return std::nullopt;
        PropertyDictionary entries;
        for (std::uint32_t i = 0; i < *count; ++i) {
            auto key = text();
            auto found = key ? value(depth) : std::nullopt;
            if (!found)
                return std::nullopt;
            entries.emplace_back(std::move(*key), std::move(*found));
        }
        return entries;
    }
    std::optional<PropertyValue> array(PropertyValue::ArrayKind kind, int depth) {
        const auto count = number<std::uint32_t>();
        if (!count)
            return std::nullopt;
        PropertyValue::Array elements{{}, kind};
        for (std::uint32_t i = 0; i < *count; ++i) {
            auto element = value(depth);
            if (!element)
                return std::nullopt;
            elements.elements.push_back(std::move(*element));
        }
        return PropertyValue(std::move(elements));
    }
    std::optional<PropertyValue> value(int depth) {
        const auto kind = number<char>();
        if (!kind || ++_values > kMaximumPropertyValues)
            return std::nullopt;
        if (*kind == kText) {
            auto found = text();
            return found ? std::optional(PropertyValue(std::move(*found))) : std::nullopt;
        }
        if (*kind == kInteger) {
            const auto found = number<std::int64_t>();
            return found ? std::optional(PropertyValue(*found)) : std::nullopt;
        }
        if (*kind == kFloating) {
            const auto found = number<double>();
            return found && std::isfinite(*found) ? std::optional(PropertyValue(*found)) : std::nullopt;
        }
        if (depth + 1 >= kMaximumPropertyDepth)
            return std::nullopt;
        if (*kind == kOrdinaryArray || *kind == kPlainArray)
            return array(
                *kind == kPlainArray ? PropertyValue::ArrayKind::plain : PropertyValue::ArrayKind::ordinary,
                depth + 1);
        auto entries = *kind == kDictionary ? dictionary(depth + 1) : std::nullopt;
        return entries ? std::optional(PropertyValue(PropertyValue::Dictionary{std::move(*entries)}))
                       : std::nullopt;
    }

    QByteArrayView _bytes;
    int _values = 0;
};

}  // namespace

QByteArray packProperties(const PropertyDictionary& properties) {
    return Packer().dictionary(properties, 0);
}

std::optional<PropertyDictionary> unpackProperties(QByteArrayView bytes) {
    if (quint64(bytes.size()) > kMaximumPackedProperties)
        return std::nullopt;
    return Unpacker(bytes).whole();
}

}  // namespace decoder
