// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMap>
#include <QString>
#include <QVariantMap>

#include <mutex>
#include <optional>
#include <thread>

namespace platform {

/// The user's settings file (INI, below the XDG configuration folder). A dictionary is one group of it. The
/// file is read once, when this object is made, and written on a thread of its own, so that a slow disk
/// stalls nobody; writing replaces the file as a whole or not at all. A file that cannot be parsed is copied
/// beside itself first; where it cannot be copied it stays as it is. A file that cannot be read or written
/// costs a warning (category tavlin.defaults), nothing else. Main thread only.
class UserDefaults {
 public:
    /// Made at first use; what is still to be written then is written before the application object ends.
    static UserDefaults& standardUserDefaults();

    explicit UserDefaults(const QString& filePath);
    /// Waits for what is still to be written.
    ~UserDefaults();
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    /// The dictionary stored under the key, or nothing when there is none. Values come back as text after a
    /// restart: read them with boolReading() and integerReading().
    std::optional<QVariantMap> dictionaryForKey(const QString& key) const;
    /// Replaces the dictionary under the key. The file follows soon.
    void setDictionaryForKey(const QVariantMap& dictionary, const QString& key);
    /// Waits until the file has what was set so far, or could not be written.
    void synchronize();

    /// Where the settings are kept.
    const QString& filePath() const { return _filePath; }

 private:
    void writePending();

    const QString _filePath;
    QMap<QString, QVariantMap> _dictionaries;
    std::mutex _lock;                     ///< guards the two below
    QMap<QString, QVariantMap> _pending;  ///< not yet on the disk
    bool _isWriting = false;              ///< _writer has not seen _pending empty yet
    std::jthread _writer;
};

/// A value read as a boolean: a number is true unless 0; a text is true when it starts (after blanks, a sign
/// and zeros) with a digit 1 to 9, or with Y, y, T or t; anything else is false.
bool boolReading(const QVariant& value);

/// A value read as an integer: a boolean as 0 or 1 (also in its written form "true"), a number cut off, a
/// text by its leading decimal digits (after blanks and a sign), anything else 0. What is too great for an
/// integer is the greatest one, and so below.
int integerReading(const QVariant& value);

}  // namespace platform
