// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/IndexSet.h"
#include "platform/PropertyValue.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <concepts>
#include <source_location>
#include <string>
#include <type_traits>

namespace logging {

/// Whether the debug log is on: the setting, asked anew at every call. False before the store exists. Any
/// thread.
bool isEnabled();

/// One argument of a log line, described. A format of `%@` or `%s` takes `text`, the number directives
/// `number`.
struct Argument {
    QString text;
    bool isNumber = false;
    bool isFloating = false;
    long long integer = 0;
    double floating = 0;
    const void* pointer = nullptr;
};

Argument describe(const QString& text);
Argument describe(const char* text);
Argument describe(bool value);
Argument describe(double value);
Argument describe(const void* pointer);
Argument describe(const QStringList& list);
Argument describe(const QVariant& value);
Argument describe(const platform::IndexSet& indexes);
Argument describe(const platform::PropertyValue& value);
Argument describeInteger(long long value);

template <typename T>
Argument describeAny(const T& value) {
    if constexpr (std::is_same_v<T, bool>)
        return describe(value);
    else if constexpr (std::is_enum_v<T> || std::integral<T>)
        return describeInteger(static_cast<long long>(value));
    else if constexpr (std::is_floating_point_v<T>)
        return describe(static_cast<double>(value));
    else if constexpr (std::invocable<const T&>)
        return describeAny(value());
    else if constexpr (std::is_pointer_v<T> && !std::is_same_v<T, const char*>)
        return describe(static_cast<const void*>(value));
    else
        return describe(value);
}

/// Formats and writes one line.
void write(const char* methodName, int line, QStringView format, std::initializer_list<Argument> arguments);

}  // namespace logging

/// The line of the place that calls this.
inline int currentLine(std::source_location here = std::source_location::current()) {
    return static_cast<int>(here.line());
}

/// The one diagnostic channel: writes "methodName (line): message" to the system log when the debug setting
/// is on. When it is off this costs one look-up and one test: nothing is formatted, and no argument is
/// described; an argument that is costly to make is handed over as a callable and made only when it is
/// wanted. Any thread; lines are written whole. Directives: %@ and %s text, %i %d %u integers, %f a floating
/// number, %p an address; a stray % stands as it is.
template <typename... Arguments>
void logWithMethodName(const char* methodName, int line, QStringView format, const Arguments&... arguments) {
    if (logging::isEnabled())
        logging::write(methodName, line, format, {logging::describeAny(arguments)...});
}
