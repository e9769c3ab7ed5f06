// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/MetadataSection.h"

#include "support/Logging.h"

#include <QStringList>

#include <optional>

namespace {

using platform::PropertyValue;

constexpr const char* openingOfWindow = "-[ImageWindowController initWithWindowNibName:sender:imagePath:]";
constexpr qsizetype keyWidth = 32;  // UTF-16 code units

QString heading(MetadataSection section) {
    switch (section) {
        case MetadataSection::general:
            break;
        case MetadataSection::iptc:
            return QStringLiteral("IPTC meta data:\n\n");
        case MetadataSection::exif:
            return QStringLiteral("EXIF meta data:\n\n");
    }
    return QStringLiteral("General metadata:\n\n");
}

QString joined(const PropertyValue::Array& array) {
    QStringList texts;
    for (const PropertyValue& element : array.elements)
        texts += element.description();
    return texts.join(QStringLiteral(", "));
}

/// The value's text; nothing for a class that the section leaves out.
std::optional<QString> textOf(MetadataSection section, const PropertyValue& value) {
    const QString className = value.className();
    if (className == u"NSCFString" || className == u"NSCFNumber")
        return value.description();
    const bool isListed = (section == MetadataSection::iptc && className == u"NSCFArray") ||
                          (section == MetadataSection::exif && className == u"NSArray");
    return isListed ? std::optional(joined(*value.array())) : std::nullopt;
}

/// A key that is longer than the column gets none.
QString fillerFor(const QString& key) {
    const qsizetype length = keyWidth - key.size();
    logWithMethodName(openingOfWindow, currentLine(), u"fillerLength: %d", length);
    QString filler(qMax<qsizetype>(0, length), u' ');
    logWithMethodName(openingOfWindow, currentLine(), u"filler length: %d", filler.size());
    return filler;
}

}  // namespace

QString metadataSectionText(MetadataSection section, const platform::PropertyDictionary& properties) {
    QString text = heading(section);
    for (const auto& [key, value] : properties) {
        logWithMethodName(openingOfWindow, currentLine(), u"prop: %@", value);
        if (section != MetadataSection::general)
            logWithMethodName(openingOfWindow, currentLine(), u"prop %@ is of class %@", value,
                              [&value = value] { return value.className(); });
        if (const auto shown = textOf(section, value))
            text += key + u':' + fillerFor(key) + *shown + u'\n';
    }
    return text;
}
