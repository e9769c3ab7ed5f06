// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace platform {

/// Files as programs hand them to each other (RFC 2483): their URIs, a line each, ended by CR LF.
inline const QString fileListType = QStringLiteral("text/uri-list");
QByteArray fileListFromPaths(const QStringList& paths);

}  // namespace platform
