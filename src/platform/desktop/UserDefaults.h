// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QVariantMap>

#include <memory>
#include <optional>

class QSettings;

namespace platform {

/// The user's settings file (INI, below the XDG configuration folder). A dictionary is one group of it. A
/// file that cannot be parsed is copied beside itself before anything is written over it. Main thread only.
class UserDefaults {
 public:
    static UserDefaults& standardUserDefaults();

    /// The dictionary stored under the key, or nothing when there is none. Values come back as text after a
    /// restart: read them with boolReading() and integerReading().
    std::optional<QVariantMap> dictionaryForKey(const QString& key);
    /// Replaces the dictionary under the key.
    void setDictionaryForKey(const QVariantMap& dictionary, const QString& key);

    /// Where the settings are kept.
    QString filePath() const;

 private:
    UserDefaults();
    ~UserDefaults();

    std::unique_ptr<QSettings> _settings;
};

/// A value read as a boolean: a number is true unless 0; a text is true when it starts (after blanks, a sign
/// and zeros) with a digit 1 to 9, or with Y, y, T or t; anything else is false.
bool boolReading(const QVariant& value);

/// A value read as an integer: a boolean as 0 or 1 (also in its written form "true"), a number cut off, a
/// text by its leading decimal digits, anything else 0.
int integerReading(const QVariant& value);

}  // namespace platform
