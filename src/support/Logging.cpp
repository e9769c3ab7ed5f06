// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Logging.h"

#include "settings/PreferencesDictionary.h"

#include <QDebug>

#include <cmath>
#include <cstdint>
#include <limits>

namespace logging {

namespace {

/// The whole part of a number, held within what an integer can be; 0 for what is no number.
long long wholePart(double value) {
    constexpr double bound = 9'223'372'036'854'775'808.0;  // 2^63
    if (std::isnan(value))
        return 0;
    if (value >= bound)
        return std::numeric_limits<long long>::max();
    return value < -bound ? std::numeric_limits<long long>::min() : static_cast<long long>(value);
}

QString hexadecimal(long long number) {
    return QStringLiteral("0x") + QString::number(static_cast<unsigned long long>(number), 16);
}

QString filledIn(char16_t directive, const Argument& argument) {
    const bool wantsInteger = directive == u'i' || directive == u'd' || directive == u'u';
    if (wantsInteger && argument.kind == Argument::Kind::floating)
        return QString::number(wholePart(argument.floating));
    if (directive == u'f' && argument.kind == Argument::Kind::floating)
        return QString::number(argument.floating, 'f');
    if (directive == u'f' && argument.kind == Argument::Kind::integer)
        return QString::number(static_cast<double>(argument.integer), 'f');
    if (directive == u'p' && argument.kind == Argument::Kind::address)
        return hexadecimal(argument.integer);
    return argument.text;
}

}  // namespace

bool isEnabled() {
    return appGlobals != nullptr && appGlobals->isDebugLogging();
}

Argument describe(QStringView text) {
    return {.text = text.toString()};
}

Argument describe(const char* text) {
    return text == nullptr ? describeNothing() : Argument{.text = QString::fromUtf8(text)};
}

Argument describe(const QStringList& list) {
    return {.text = u'(' + list.join(QStringLiteral(", ")) + u')'};
}

Argument describe(const QVariantMap& dictionary) {
    QString text = QStringLiteral("{");
    for (auto entry = dictionary.cbegin(); entry != dictionary.cend(); ++entry)
        text += entry.key() + QStringLiteral(" = ") + describe(entry.value()).text + QStringLiteral("; ");
    return {.text = text + u'}'};
}

Argument describe(const QVariant& value) {
    switch (value.typeId()) {
        case QMetaType::UnknownType:
            return describeNothing();
        case QMetaType::Bool:
        case QMetaType::Int:
        case QMetaType::LongLong:
            return describeInteger(value.toLongLong());
        case QMetaType::Double:
            return describeFloating(value.toDouble());
        case QMetaType::QVariantMap:
            return describe(value.toMap());
        case QMetaType::QStringList:
            return describe(value.toStringList());
        default:
            break;
    }
    if (value.canConvert<QString>())
        return {.text = value.toString()};
    return {.text = u'<' + QString::fromLatin1(value.typeName()) + u'>'};
}

Argument describe(const platform::IndexSet& indexes) {
    return {.text = indexes.description()};
}

Argument describe(const platform::PropertyValue& value) {
    return {.text = value.description()};
}

Argument describeInteger(long long value) {
    return {.text = QString::number(value), .kind = Argument::Kind::integer, .integer = value};
}

Argument describeFloating(double value) {
    return {.text = QString::number(value), .kind = Argument::Kind::floating, .floating = value};
}

Argument describeAddress(const void* address) {
    const auto number = static_cast<long long>(reinterpret_cast<std::intptr_t>(address));
    return {.text = address == nullptr ? describeNothing().text : hexadecimal(number),
            .kind = Argument::Kind::address,
            .integer = number};
}

Argument describeNothing() {
    return {.text = QStringLiteral("(null)")};
}

QString formatted(QStringView format, std::initializer_list<Argument> arguments) {
    constexpr QStringView directives = u"@sidufp";
    QString text;
    const Argument* next = arguments.begin();
    for (qsizetype i = 0; i < format.size(); ++i) {
        const QChar following = i + 1 < format.size() ? format[i + 1] : QChar();
        if (format[i] == u'%' && following == u'%') {
            text += format[++i];
        } else if (format[i] == u'%' && directives.contains(following) && next != arguments.end()) {
            text += filledIn(following.unicode(), *next++);
            ++i;
        } else {
            text += format[i];
        }
    }
    return text;
}

void write(const char* methodName, int line, QStringView format, std::initializer_list<Argument> arguments) {
    const QString prefix = formatted(u"%s (%i): ", {describe(methodName), describeInteger(line)});
    qInfo().noquote() << prefix + formatted(format, arguments);
}

}  // namespace logging
