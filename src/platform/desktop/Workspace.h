// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Image.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <memory>

namespace platform {

class Recycler;

enum class FileOperation { recycle };

/// What the caller knows of a file, which then need not be asked.
enum class FileKind { unknown, folder, notFolder };

/// The desktop around the program: icons, the trash, addresses, volumes coming and going. Main thread only.
class Workspace : public QObject {
    Q_OBJECT

 public:
    static Workspace& sharedWorkspace();

    /// A new image object for each call, 32 by 32 points until resized; the picture itself is shared. Never
    /// null: the theme's icon for the file's kind (folders and volumes by their role), else the program's
    /// own. Asks the file system only for an unknown kind, and then waits for a volume no longer than
    /// FolderReader does: what turns out to be a folder later is told by iconArrived().
    ImageRef iconForFile(const QString& path, FileKind kind = FileKind::unknown);
    /// "fldr": a folder; "gurl": an internet location; otherwise a file name's extension or MIME type.
    ImageRef iconForFileType(const QString& type);
    /// "NSComputer": the computer; null for an unknown name.
    ImageRef imageNamed(const QString& name);

    /// Opens an address in the user's program for it; false when there is none. Does not wait for its start;
    /// a start that fails is logged. That of a local file is looked for without waiting, so true for those.
    bool openUrl(const QUrl& url);

    /// Puts files on the clipboard, for file managers and text fields to paste.
    void copyFiles(const QStringList& paths);
    /// Has the desktop's file manager show the files in their folders (org.freedesktop.FileManager1); where
    /// none answers the folders open in the user's program for them. Waits for neither.
    void showInFileManager(const QStringList& paths);

    /// Does the operation with the files of these names in the folder `source`, at once. Recycling moves each
    /// to the trash of its own volume, so `destination` is of no use to it. Sets the tag: 0 when all went
    /// well, else the negative errno value of the last file that failed; such a file is untouched. Answers
    /// whether all went well.
    bool performFileOperation(FileOperation operation, const QString& source, const QString& destination,
                              const QStringList& files, int& tag);
    /// What performFileOperation() recycles with.
    Recycler& recycler();

    /// From now on the signals below tell of the volumes that a user should see. To be called once the event
    /// loop's dispatcher is there.
    void watchVolumes();

 Q_SIGNALS:
    /// A file or folder that another program was to open or to show is not, and no other way is left; the log
    /// says why.
    void openingFailed();
    /// The icon of a folder that iconForFile() took for a file, as its place had not answered in time.
    void iconArrived(const QString& path, const platform::ImageRef& icon);
    /// A volume is about to go, as far as the desktop says so: no file of it may stay open.
    void willUnmount(const QString& path);
    /// A volume came or went, with its mount folder and display name; or it was given another name.
    void didMount(const QString& path, const QString& name);
    void didUnmount(const QString& path, const QString& name);
    void didRenameVolume(const QString& path, const QString& name);

 private:
    Workspace();
    ~Workspace() override;

    struct Private;
    std::unique_ptr<Private> _d;
};

}  // namespace platform
