// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/UserDefaults.h"

#include "platform/Guard.h"

#include <fcntl.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryFile>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <system_error>
#include <utility>

namespace platform {

Q_LOGGING_CATEGORY(defaultsLog, "tavlin.defaults")

namespace {

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Copies the file to "NAME.corrupt", "NAME.corrupt.2" and so on, whichever is free; a copy with the same
/// contents serves again. Answers whether there is one.
bool keepCorruptFile(const QString& path) {
    QString copy = path + QStringLiteral(".corrupt");
    for (int number = 2; QFile::exists(copy); ++number) {
        if (contents(copy) == contents(path))
            return true;
        copy = path + QStringLiteral(".corrupt.%1").arg(number);
    }
    const bool isKept = QFile::copy(path, copy);
    qCWarning(defaultsLog, "%ls cannot be read whole; %s %ls", qUtf16Printable(path),
              isKept ? "it is kept as" : "it could not be copied to", qUtf16Printable(copy));
    return isKept;
}

struct OpenSettings {
    std::unique_ptr<QSettings> settings;
    bool mayBeWritten = true;  ///< false where that would lose what cannot be parsed
};

/// 16 and more for what is none.
unsigned digitOf(char character) {
    const auto lower = static_cast<unsigned char>(character | 0x20);
    if (character >= '0' && character <= '9')
        return lower - unsigned{'0'};
    return lower >= 'a' && lower <= 'f' ? lower - unsigned{'a'} + 10 : 16;
}

/// The number at `at`, which is moved behind it: as many digits as there are, of which 16 bits count.
char16_t numberOf(const QByteArray& bytes, qsizetype& at, unsigned base) {
    char16_t number = 0;
    for (; at < bytes.size() && digitOf(bytes[at]) < base; ++at)
        number = static_cast<char16_t>(number * base + digitOf(bytes[at]));
    return number;
}

/// What an escape stands for, whose letter or first digit is at `at`, which is moved behind it; 0 for what no
/// number gives.
char16_t unescaped(const QByteArray& bytes, qsizetype& at) {
    if (digitOf(bytes[at]) < 8)
        return numberOf(bytes, at, 8);
    return bytes[at++] == 'x' ? numberOf(bytes, at, 16) : u'\0';
}

/// All that stands in a settings file as the toolkit reads values: escapes and quotes are resolved, and lines
/// joined that a backslash continues. Only what is visible and ASCII is kept, as the rest may fall away on
/// the toolkit's way too: blanks behind quotes, what is not UTF-8.
QByteArray visibleText(const QByteArray& settings) {
    QByteArray text;
    for (qsizetype at = 0; at < settings.size();) {
        auto character = static_cast<char16_t>(static_cast<unsigned char>(settings[at++]));
        if (character == u'\\' && at < settings.size())
            character = unescaped(settings, at);
        if (character > u' ' && character < 0x7f && character != u'"')
            text += static_cast<char>(character);
    }
    return text;
}

/// Whether some value is one that the toolkit reads as a stream of bytes, which none of ours is: damaged ones
/// have it ask for whatever memory they name.
bool hasStreamedValue(const QString& path) {
    const QByteArray text = visibleText(contents(path));
    return text.contains("@Variant(") || text.contains("@DateTime(");
}

OpenSettings openSettings(const QString& path) {
    bool mayBeWritten = true;
    if (hasStreamedValue(path)) {
        keepCorruptFile(path);
        return {std::make_unique<QSettings>(QStringLiteral("/dev/null"), QSettings::IniFormat), false};
    }
    auto settings = std::make_unique<QSettings>(path, QSettings::IniFormat);
    settings->allKeys();  // parses every group, which the constructor leaves for later
    if (settings->status() == QSettings::FormatError)
        mayBeWritten = keepCorruptFile(path);
    else if (settings->status() == QSettings::AccessError)
        qCWarning(defaultsLog, "The settings in %ls cannot be read.", qUtf16Printable(path));
    return {std::move(settings), mayBeWritten};
}

/// Whether the disk has room for the file anew. The toolkit would not notice when the last bytes of it find
/// none, and put an empty file in its place.
bool hasRoom(const QString& path) {
    QTemporaryFile reserve(path + QStringLiteral(".XXXXXX"));
    constexpr qint64 added = 16 << 10;  // bytes: a lock file, and what is new
    return QDir().mkpath(QFileInfo(path).path()) && reserve.open() &&
           ::posix_fallocate(reserve.handle(), 0, QFileInfo(path).size() + added) == 0;
}

void writeSettings(const QString& path, const QMap<QString, QVariantMap>& dictionaries) {
    if (hasStreamedValue(path) && keepCorruptFile(path))
        QFile::remove(path);
    const auto [settings, mayBeWritten] = openSettings(path);
    if (!mayBeWritten)
        return;
    const bool isRoomThere = hasRoom(path);
    for (auto group = dictionaries.cbegin(); isRoomThere && group != dictionaries.cend(); ++group) {
        settings->beginGroup(group.key());
        settings->remove({});
        for (auto entry = group->cbegin(); entry != group->cend(); ++entry)
            settings->setValue(entry.key(), entry.value());
        settings->endGroup();
    }
    settings->sync();
    if (!isRoomThere || settings->status() == QSettings::AccessError)
        qCWarning(defaultsLog, "The settings cannot be written to %ls.", qUtf16Printable(path));
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
    static UserDefaults defaults(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                                 QStringLiteral("/tavlin/tavlin.conf"));
    [[maybe_unused]] static const bool isRegistered = [] {
        qAddPostRoutine([] { defaults.synchronize(); });
        return true;
    }();
    return defaults;
}

UserDefaults::UserDefaults(const QString& filePath) : _filePath(filePath) {
    const auto settings = openSettings(_filePath).settings;
    for (const QString& group : settings->childGroups()) {
        QVariantMap& dictionary = _dictionaries[group];
        settings->beginGroup(group);
        for (const QString& key : settings->allKeys())
            dictionary.insert(key, settings->value(key));
        settings->endGroup();
    }
}

UserDefaults::~UserDefaults() {
    synchronize();
}

std::optional<QVariantMap> UserDefaults::dictionaryForKey(const QString& key) const {
    const auto found = _dictionaries.find(key);
    return found == _dictionaries.end() ? std::nullopt : std::optional(*found);
}

void UserDefaults::setDictionaryForKey(const QVariantMap& dictionary, const QString& key) {
    _dictionaries.insert(key, dictionary);
    {
        const std::scoped_lock guard(_lock);
        _pending.insert(key, dictionary);
        if (std::exchange(_isWriting, true))
            return;
    }
    try {
        _writer = std::jthread([this] { writePending(); });
    } catch (const std::system_error&) {
        writePending();  // the system has no thread left
    }
}

void UserDefaults::synchronize() {
    if (_writer.joinable())
        _writer.join();
}

void UserDefaults::writePending() {
    for (;;) {
        QMap<QString, QVariantMap> dictionaries;
        {
            const std::scoped_lock guard(_lock);
            dictionaries.swap(_pending);
            _isWriting = !dictionaries.isEmpty();
            if (!_isWriting)
                return;
        }
        guarded("Writing the settings", [&] { writeSettings(_filePath, dictionaries); });
    }
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
