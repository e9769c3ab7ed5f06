// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <cstdint>
#include <memory>
#include <utility>
#include <variant>
#include <vector>

namespace platform {

class PropertyValue;

/// Keys and values in their file's order.
using PropertyDictionary = std::vector<std::pair<QString, PropertyValue>>;

/// One value of a property list or of a picture's metadata: a closed set of kinds, each with the class name
/// that the program's rules ask for. Immutable value, any thread.
class PropertyValue {
 public:
    /// The two kinds of arrays that the rules tell apart.
    enum class ArrayKind : std::uint8_t { ordinary, plain };  // "NSCFArray", "NSArray"

    struct Array {
        std::vector<PropertyValue> elements;
        ArrayKind kind = ArrayKind::ordinary;
    };
    struct Dictionary {
        PropertyDictionary entries;
    };
    /// A boolean, as a type of its own so that it is not taken for a number.
    struct Boolean {
        bool value = false;
    };

    using Variant = std::variant<std::monostate, QString, std::int64_t, double, Boolean, QDateTime,
                                 QByteArray, Array, Dictionary>;

    PropertyValue() = default;
    PropertyValue(QString text) : _value(std::move(text)) {}
    PropertyValue(std::int64_t number) : _value(number) {}
    PropertyValue(int number) : _value(std::int64_t{number}) {}
    PropertyValue(double number) : _value(number) {}
    PropertyValue(Boolean boolean) : _value(boolean) {}
    PropertyValue(QDateTime date) : _value(std::move(date)) {}
    PropertyValue(QByteArray data) : _value(std::move(data)) {}
    PropertyValue(Array array) : _value(std::move(array)) {}
    PropertyValue(Dictionary dictionary) : _value(std::move(dictionary)) {}

    /// "NSCFString", "NSCFNumber", "NSCFBoolean", "NSCFDate", "NSCFData", "NSCFArray", "NSArray",
    /// "NSCFDictionary", "NSNull".
    QString className() const;

    /// The value as a person writes it: text as it is, numbers without idle digits (0.004, 2.8, 6000), arrays
    /// as "(a, b)", dictionaries as "{k = v; }".
    QString description() const;

    const QString* string() const { return std::get_if<QString>(&_value); }
    const Array* array() const { return std::get_if<Array>(&_value); }
    const Dictionary* dictionary() const { return std::get_if<Dictionary>(&_value); }
    const Variant& variant() const { return _value; }

 private:
    Variant _value;
};

}  // namespace platform
