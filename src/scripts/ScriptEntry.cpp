// SPDX-License-Identifier: GPL-3.0-or-later
#include "scripts/ScriptEntry.h"

#include <stdexcept>

std::optional<QString> ScriptEntry::objectForKey(QStringView key) const {
    if (key == u"ScriptNameKey")
        return _name;
    if (key == u"ScriptURLKey")
        return _path;
    return std::nullopt;
}

void ScriptEntry::setObjectForKey(const QString& object, QStringView key) const {
    throw std::logic_error("a script entry cannot be changed (" + key.toString().toStdString() + " = " +
                           object.toStdString() + ")");
}

QString ScriptEntry::description() const {
    return QStringLiteral("{ScriptNameKey = ") + _name + QStringLiteral("; ScriptURLKey = ") + _path + u'}';
}
