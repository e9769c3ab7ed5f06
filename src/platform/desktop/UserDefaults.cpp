// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/UserDefaults.h"

#include <QFile>
#include <QLoggingCategory>
#include <QSettings>
#include <QStandardPaths>

#include <cmath>
#include <limits>

namespace platform {

Q_LOGGING_CATEGORY(defaultsLog, "tavlin.defaults")

namespace {

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Copies the file to "NAME.corrupt", "NAME.corrupt.2" and so on, whichever is free; a copy with the same
/// contents serves again.
void keepCorruptFile(const QString& path) {
    QString copy = path + QStringLiteral(".corrupt");
    for (int number = 2; QFile::exists(copy); ++number) {
        if (contents(copy) == contents(path))
            return;
        copy = path + QStringLiteral(".corrupt.%1").arg(number);
    }
    const bool isKept = QFile::copy(path, copy);
    qCWarning(defaultsLog, "%ls cannot be read whole; %ls %ls", qUtf16Printable(path),
              isKept ? u"it is kept as" : u"it could not be copied to", qUtf16Printable(copy));
}

int heldWithinInt(double value) {
    using Limits = std::numeric_limits<int>;
    if (std::isnan(value))
        return 0;
    return static_cast<int>(std::clamp<double>(value, Limits::min(), Limits::max()));
}

/// The text from its first character that is no blank, with its sign.
QStringView withoutBlanks(QStringView text) {
    while (!text.isEmpty() && text.front().isSpace())
        text = text.sliced(1);
    return text;
}

bool boolReadingOfText(QStringView text) {
    text = withoutBlanks(text);
    if (text.startsWith(u'+') || text.startsWith(u'-'))
        text = text.sliced(1);
    while (text.startsWith(u'0'))
        text = text.sliced(1);
    return !text.isEmpty() && QStringView(u"123456789YyTt").contains(text.front());
}

int integerReadingOfText(QStringView text) {
    if (text == u"true")
        return 1;
    text = withoutBlanks(text);
    qsizetype end = text.startsWith(u'+') || text.startsWith(u'-') ? 1 : 0;
    while (end < text.size() && text[end] >= u'0' && text[end] <= u'9')
        ++end;
    return heldWithinInt(text.first(end).toDouble());
}

}  // namespace

UserDefaults& UserDefaults::standardUserDefaults() {
    static UserDefaults defaults;
    return defaults;
}

UserDefaults::UserDefaults()
    : _settings(std::make_unique<QSettings>(
          QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
              QStringLiteral("/tavlin/tavlin.conf"),
          QSettings::IniFormat)) {
    if (_settings->status() == QSettings::FormatError)
        keepCorruptFile(filePath());
}

UserDefaults::~UserDefaults() = default;

std::optional<QVariantMap> UserDefaults::dictionaryForKey(const QString& key) {
    if (!_settings->childGroups().contains(key))
        return std::nullopt;
    QVariantMap dictionary;
    _settings->beginGroup(key);
    for (const QString& entry : _settings->allKeys())
        dictionary.insert(entry, _settings->value(entry));
    _settings->endGroup();
    return dictionary;
}

void UserDefaults::setDictionaryForKey(const QVariantMap& dictionary, const QString& key) {
    _settings->remove(key);
    _settings->beginGroup(key);
    for (auto entry = dictionary.cbegin(); entry != dictionary.cend(); ++entry)
        _settings->setValue(entry.key(), entry.value());
    _settings->endGroup();
    _settings->sync();
    if (_settings->status() != QSettings::NoError)
        qCWarning(defaultsLog, "The settings cannot be written to %ls.", qUtf16Printable(filePath()));
}

QString UserDefaults::filePath() const {
    return _settings->fileName();
}

bool boolReading(const QVariant& value) {
    switch (value.typeId()) {
        case QMetaType::Bool:
            return value.toBool();
        case QMetaType::QString:
            return boolReadingOfText(value.toString());
        case QMetaType::QByteArray:
            return boolReadingOfText(QString::fromUtf8(value.toByteArray()));
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Double:
        case QMetaType::Float:
            return value.toDouble() != 0;
        default:
            return false;
    }
}

int integerReading(const QVariant& value) {
    switch (value.typeId()) {
        case QMetaType::Bool:
            return value.toBool() ? 1 : 0;
        case QMetaType::QString:
            return integerReadingOfText(value.toString());
        case QMetaType::QByteArray:
            return integerReadingOfText(QString::fromUtf8(value.toByteArray()));
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Double:
        case QMetaType::Float:
            return heldWithinInt(value.toDouble());
        default:
            return 0;
    }
}

}  // namespace platform
