// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PropertyValue.h"

#include <QLocale>
#include <QStringList>

namespace platform {

namespace {

struct ClassName {
    QString operator()(const std::monostate&) const { return QStringLiteral("NSNull"); }
    QString operator()(const QString&) const { return QStringLiteral("NSCFString"); }
    QString operator()(std::int64_t) const { return QStringLiteral("NSCFNumber"); }
    QString operator()(double) const { return QStringLiteral("NSCFNumber"); }
    QString operator()(const PropertyValue::Boolean&) const { return QStringLiteral("NSCFBoolean"); }
    QString operator()(const QDateTime&) const { return QStringLiteral("NSCFDate"); }
    QString operator()(const QByteArray&) const { return QStringLiteral("NSCFData"); }
    QString operator()(const PropertyValue::Array& array) const {
        return array.kind == PropertyValue::ArrayKind::ordinary ? QStringLiteral("NSCFArray")
                                                                : QStringLiteral("NSArray");
    }
    QString operator()(const PropertyValue::Dictionary&) const { return QStringLiteral("NSCFDictionary"); }
};

struct Description {
    QString operator()(const std::monostate&) const { return QStringLiteral("<null>"); }
    QString operator()(const QString& text) const { return text; }
    QString operator()(std::int64_t number) const { return QString::number(number); }
    QString operator()(double number) const { return QString::number(number, 'g', 10); }
    QString operator()(const PropertyValue::Boolean& boolean) const {
        return boolean.value ? QStringLiteral("1") : QStringLiteral("0");
    }
    QString operator()(const QDateTime& date) const { return date.toString(Qt::ISODateWithMs); }
    QString operator()(const QByteArray& data) const {
        return u'<' + QString::fromLatin1(data.first(qMin<qsizetype>(data.size(), 64)).toHex()) + u'>';
    }
    QString operator()(const PropertyValue::Array& array) const {
        QStringList parts;
        for (const PropertyValue& element : array.elements)
            parts += element.description();
        return u'(' + parts.join(QStringLiteral(", ")) + u')';
    }
    QString operator()(const PropertyValue::Dictionary& dictionary) const {
        QString text = QStringLiteral("{");
        for (const auto& [key, value] : dictionary.entries)
            text += key + QStringLiteral(" = ") + value.description() + QStringLiteral("; ");
        return text + u'}';
    }
};

}  // namespace

QString PropertyValue::className() const {
    return std::visit(ClassName{}, _value);
}

QString PropertyValue::description() const {
    return std::visit(Description{}, _value);
}

}  // namespace platform
