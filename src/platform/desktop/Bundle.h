// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

namespace platform {

/// The program's own files and texts. The build tree and an installed one have the same layout, so everything
/// is found from the folder of the running program (PREFIX/bin).
class Bundle {
 public:
    static const Bundle& mainBundle();

    /// PREFIX/share/tavlin.
    QString resourcePath() const;
    /// PREFIX/libexec/tavlin: the decoder and the helpers.
    QString libexecPath() const;
    /// The resource "name.type", or a null string.
    QString pathForResourceOfType(const QString& name, const QString& type) const;
    /// All resources of a type below the resource folder's subfolder for it, by name.
    QStringList pathsForResourcesOfType(const QString& type) const;

    /// A value of the program's information ("CFBundleGetInfoString", ...); a null string for none.
    QString objectForInfoDictionaryKey(const QString& key) const;

    /// The text of a key in the string table "Localizable" in the desktop's language; the empty string for a
    /// missing one.
    QString localizedString(const QString& key) const;

 private:
    Bundle();
};

}  // namespace platform
