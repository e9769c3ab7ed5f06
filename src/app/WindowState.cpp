// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/WindowState.h"

#include "platform/FileAccess.h"
#include "platform/PathBytes.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <algorithm>
#include <cmath>

namespace {

constexpr qint64 largestFile = 65536;  // bytes; a real one has less than one KiB

QByteArray bytes(const QJsonObject& object, const QString& key) {
    return QByteArray::fromBase64(object.value(key).toString().toLatin1());
}

}  // namespace

QString WindowState::defaultFilePath() {
    QString folder = platform::pathFromBytes(qgetenv("XDG_STATE_HOME"));
    if (!folder.startsWith(u'/'))
        folder = QDir::homePath() + QStringLiteral("/.local/state");
    return folder + QStringLiteral("/tavlin/window.json");
}

WindowState WindowState::read(const QString& filePath) {
    WindowState state;
    const platform::ScopedFileDescriptor descriptor = platform::openRegularFile(filePath);
    QFile file;
    if (!descriptor.isValid() || !file.open(descriptor.get(), QIODevice::ReadOnly))
        return state;
    const QJsonObject object = QJsonDocument::fromJson(file.read(largestFile)).object();
    state.geometry = bytes(object, QStringLiteral("geometry"));
    state.splitter = bytes(object, QStringLiteral("splitter"));
    state.placesSplitter = bytes(object, QStringLiteral("placesSplitter"));
    state.metadataWidth = std::clamp(object.value(QStringLiteral("metadataWidth")).toInt(), 0, 10'000);
    if (const double zoom = object.value(QStringLiteral("zoom")).toDouble(-1); zoom >= 0 && zoom <= 1)
        state.zoom = static_cast<float>(zoom);
    state.folder = platform::pathFromFileUri(object.value(QStringLiteral("folder")).toString().toUtf8());
    return state;
}

bool WindowState::write(const QString& filePath) const {
    const auto text = [](const QByteArray& data) {
        return QString::fromLatin1(data.toBase64());
    };
    QJsonObject object{{QStringLiteral("geometry"), text(geometry)},
                       {QStringLiteral("splitter"), text(splitter)},
                       {QStringLiteral("placesSplitter"), text(placesSplitter)}};
    if (metadataWidth > 0)
        object.insert(QStringLiteral("metadataWidth"), metadataWidth);
    if (zoom)
        object.insert(QStringLiteral("zoom"), std::round(*zoom * 1000.0) / 1000.0);
    if (!folder.isNull())
        object.insert(QStringLiteral("folder"), QString::fromLatin1(platform::fileUriFromPath(folder)));

    if (!QDir().mkpath(platform::pathByDeletingLastComponent(filePath)))
        return false;
    QSaveFile file(filePath);
    // What only its end would write to a full disk is lost without a word.
    return file.open(QIODevice::WriteOnly) && file.write(QJsonDocument(object).toJson()) > 0 &&
           file.flush() && file.commit();
}
