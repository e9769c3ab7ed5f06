// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/IndexSet.h"
#include "platform/PropertyValue.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <concepts>
#include <initializer_list>
#include <optional>
#include <type_traits>

namespace logging {

/// Whether the debug log is on: the setting, asked anew at every call. False before the store exists. Any
/// thread.
bool isEnabled();

/// One argument of a log line, described. `text` serves every directive but where `kind` has a better answer.
struct Argument {
    enum class Kind { text, integer, floating, address };

    QString text;
    Kind kind = Kind::text;
    long long integer = 0;
    double floating = 0;
};

Argument describe(QStringView text);
Argument describe(const char* text);
Argument describe(const QStringList& list);
Argument describe(const QVariantMap& dictionary);
Argument describe(const QVariant& value);
Argument describe(const platform::IndexSet& indexes);
Argument describe(const platform::PropertyValue& value);
Argument describeInteger(long long value);
Argument describeFloating(double value);
Argument describeAddress(const void* address);
/// What stands for an absent object: "(null)".
Argument describeNothing();

template <typename T>
struct IsOptional : std::false_type {};
template <typename T>
struct IsOptional<std::optional<T>> : std::true_type {};

template <typename T>
Argument describeAny(const T& value) {
    using Plain = std::decay_t<T>;
    if constexpr (IsOptional<T>::value)
        return value ? describeAny(*value) : describeNothing();
    else if constexpr (std::is_enum_v<T> || std::integral<T>)
        return describeInteger(static_cast<long long>(value));
    else if constexpr (std::is_floating_point_v<T>)
        return describeFloating(static_cast<double>(value));
    else if constexpr (std::invocable<const T&>)
        return describeAny(value());
    else if constexpr (std::is_same_v<Plain, const char*> || std::is_same_v<Plain, char*>)
        return describe(static_cast<const char*>(value));
    else if constexpr (std::is_convertible_v<const T&, QStringView>)
        return describe(QStringView(value));
    else if constexpr (std::is_pointer_v<T> || std::is_null_pointer_v<T>)
        return describeAddress(value);
    else
        return describe(value);
}

/// The text of a format with its directives filled in, one argument each, in order:
/// %@ and %s the argument's text, %i %d %u an integer (of a floating number its whole part), %f a number with
/// six decimals, %p an address, %% a percent sign. Safe with any mixture: what is no number is written as its
/// text, a directive without an argument and any other % stand as they are, a surplus argument is dropped.
QString formatted(QStringView format, std::initializer_list<Argument> arguments);

/// Writes one line to the system log. Any thread.
void write(const char* methodName, int line, QStringView format, std::initializer_list<Argument> arguments);

}  // namespace logging

/// The line of the place that calls this. (The compilers' own word for it, as clang 14, which checks the
/// code, has no std::source_location.)
inline int currentLine(int line = __builtin_LINE()) {
    return line;
}

/// The one diagnostic channel: writes "methodName (line): message" to the system log when the debug setting
/// is on. When it is off this costs one test: nothing is formatted, and no argument is
/// described; an argument that is costly to make is handed over as a callable and made only when it is
/// wanted, after the setting was read, so that it may take the store's lock itself. Any thread; lines are
/// written whole. The directives are those of logging::formatted().
template <typename... Arguments>
void logWithMethodName(const char* methodName, int line, QStringView format, const Arguments&... arguments) {
    if (logging::isEnabled()) [[unlikely]]
        logging::write(methodName, line, format, {logging::describeAny(arguments)...});
}
