// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <memory>
#include <optional>

/// One script of the table: an unchangeable record of two texts, the file's name ("ScriptNameKey") and its
/// full path ("ScriptURLKey", a plain path for all its name).
class ScriptEntry {
 public:
    ScriptEntry(QString name, QString path) : _name(std::move(name)), _path(std::move(path)) {}

    /// Nothing for any other key.
    std::optional<QString> objectForKey(QStringView key) const;
    /// Always fails with std::logic_error: the record is unchangeable.
    [[noreturn]] void setObjectForKey(const QString& object, QStringView key) const;

    QString description() const;
    bool operator==(const ScriptEntry&) const = default;

 private:
    QString _name;
    QString _path;
};

/// Shared by the list and whoever was handed it.
using ScriptEntryRef = std::shared_ptr<const ScriptEntry>;
