// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <memory>

class QIcon;
class QTranslator;

namespace platform {

/// The program's own files and texts, below installPrefix(): the build tree and an installed one have the
/// same layout. Made at first use, after the application object. Main thread.
class Bundle {
 public:
    static const Bundle& mainBundle();

    /// The bundle below `prefix`, in the first of the languages ("de", "de-AT") that is shipped, else in
    /// English. A language counts with and without its country before the next one does.
    Bundle(const QString& prefix, const QStringList& languages);
    ~Bundle();
    Bundle(const Bundle&) = delete;
    Bundle& operator=(const Bundle&) = delete;

    /// PREFIX/share/tavlin.
    QString resourcePath() const;
    /// PREFIX/libexec/tavlin: the decoder and the helpers.
    QString libexecPath() const;
    /// The program's icon at the sizes that windows and title bars show. Read when it is first drawn.
    QIcon applicationIcon() const;
    /// The resource "name.type", or a null string: that of the desktop's language (PREFIX/share/tavlin/de)
    /// before the common one.
    QString pathForResourceOfType(const QString& name, const QString& type) const;
    /// The paths of all resources of a type: the files directly in the resource folder whose names end so, by
    /// name.
    QStringList pathsForResourcesOfType(const QString& type) const;

    /// A value of the program's information ("CFBundleGetInfoString", ...) in the desktop's language; a null
    /// string for none.
    QString objectForInfoDictionaryKey(const QString& key) const;

    /// The text of a key in the string table "Localizable" in the desktop's language; the empty string for a
    /// missing one.
    QString localizedString(const QString& key) const;

    /// Gives the same texts, and the toolkit's own, to the compiled interface descriptions. Once, at
    /// start-up, before the first of them is built.
    void installTranslators() const;

 private:
    const QString _prefix;
    QString _localizedResourcePath;
    std::unique_ptr<QTranslator> _english;    ///< what is missing in the desktop's language
    std::unique_ptr<QTranslator> _localized;  ///< the desktop's language; empty where that is not shipped
    std::unique_ptr<QTranslator> _toolkit;    ///< the toolkit's own texts in the same language
};

}  // namespace platform
