// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/Bundle.h"

#include "platform/desktop/InstallPrefix.h"
#include "platform/FileAccess.h"

#include <QCoreApplication>
#include <QDir>
#include <QIcon>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

#include <tuple>

namespace platform {

namespace {

/// QTranslator's own search takes the next language without a country before this one without it.
QString shippedLanguage(const QString& folder, const QStringList& languages) {
    for (QString wish : languages) {
        wish.replace(u'-', u'_');
        for (const QString& language : {wish, wish.section(u'_', 0, 0)})
            if (fileStatus(folder + QStringLiteral("/tavlin_%1.qm").arg(language)))
                return language;
    }
    return QStringLiteral("en");
}

}  // namespace

const Bundle& Bundle::mainBundle() {
    static const Bundle bundle(installPrefix(), QLocale::system().uiLanguages());
    return bundle;
}

Bundle::Bundle(const QString& prefix, const QStringList& languages)
    : _prefix(prefix),
      _english(std::make_unique<QTranslator>()),
      _localized(std::make_unique<QTranslator>()),
      _toolkit(std::make_unique<QTranslator>()) {
    const QString folder = resourcePath() + QStringLiteral("/translations");
    const QString language = shippedLanguage(folder, languages);
    _localizedResourcePath = resourcePath() + u'/' + language;
    // What cannot be loaded stays empty and answers no text.
    std::ignore = _english->load(QStringLiteral("tavlin_en"), folder);
    std::ignore = _localized->load(QStringLiteral("tavlin_") + language, folder);
    std::ignore = _toolkit->load(QStringLiteral("qtbase_") + language,
                                 QLibraryInfo::path(QLibraryInfo::TranslationsPath));
}

Bundle::~Bundle() = default;

QString Bundle::resourcePath() const {
    return _prefix + QStringLiteral("/share/tavlin");
}

QString Bundle::libexecPath() const {
    return _prefix + QStringLiteral("/libexec/tavlin");
}

QIcon Bundle::applicationIcon() const {
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64, 128})
        icon.addFile(QStringLiteral("%1/share/icons/hicolor/%2x%2/apps/%3.png")
                         .arg(_prefix, QString::number(size), QStringLiteral(TAVLIN_APPLICATION_ID)),
                     QSize(size, size));
    return icon;
}

QString Bundle::pathForResourceOfType(const QString& name, const QString& type) const {
    for (const QString& folder : {_localizedResourcePath, resourcePath()})
        if (QString path = folder + u'/' + name + u'.' + type; fileStatus(path))
            return path;
    return {};
}

QStringList Bundle::pathsForResourcesOfType(const QString& type) const {
    QStringList paths;
    const QDir folder(resourcePath());
    for (const QString& name : folder.entryList({QStringLiteral("*.") + type}, QDir::Files, QDir::Name))
        paths += folder.filePath(name);
    return paths;
}

QString Bundle::objectForInfoDictionaryKey(const QString& key) const {
    QString version = QStringLiteral(TAVLIN_VERSION);
    if (key == u"CFBundleName")
        return QStringLiteral("Tavlin");
    if (key == u"CFBundleShortVersionString")
        return version;
    if (key == u"CFBundleGetInfoString")
        return localizedString(key).replace(QStringLiteral("%1"), version);
    return {};
}

QString Bundle::localizedString(const QString& key) const {
    const QByteArray id = key.toUtf8();
    for (const QTranslator* texts : {_localized.get(), _english.get()})
        if (QString text = texts->translate(nullptr, id.constData()); !text.isNull())
            return text;
    return QStringLiteral("");
}

void Bundle::installTranslators() const {
    for (QTranslator* translator : {_toolkit.get(), _english.get(), _localized.get()})
        QCoreApplication::installTranslator(translator);
}

}  // namespace platform
