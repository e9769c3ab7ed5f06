// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Image.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>

namespace platform {

/// The desktop around the program: icons, the trash, addresses, volumes coming and going. Main thread only.
class Workspace : public QObject {
    Q_OBJECT

 public:
    static Workspace& sharedWorkspace();

    /// A new image object for each call, 32 by 32 points until resized. Never null: the theme's icon for the
    /// file's kind (folders and volumes by their role), else the program's own. Does not block on a volume
    /// that is gone.
    ImageRef iconForFile(const QString& path);
    /// "fldr": a folder; "gurl": an internet location; otherwise a file name's extension or MIME type.
    ImageRef iconForFileType(const QString& type);
    /// "NSComputer": the computer; null for an unknown name.
    ImageRef imageNamed(const QString& name);

    /// Opens an address in the user's program for it; false when none could be started.
    bool openUrl(const QUrl& url);

 Q_SIGNALS:
    /// A volume came or went, with its mount folder and display name.
    void didMount(const QString& path, const QString& name);
    void didUnmount(const QString& path, const QString& name);

 private:
    Workspace();
};

}  // namespace platform
