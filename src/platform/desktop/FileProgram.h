// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

struct _GAppInfo;
class QIcon;
class QObject;

namespace platform {

/// A program of the desktop that opens files: a value, whose description in the desktop's terms is shared.
/// Main thread only.
class FileProgram {
 public:
    explicit FileProgram(std::shared_ptr<_GAppInfo> description) : _description(std::move(description)) {}

    /// In the desktop's language.
    QString name() const;
    /// Null where neither the icon theme nor a file has one.
    QIcon icon() const;
    /// Starts it with the files and does not wait; a start that fails is logged.
    void open(const QStringList& paths) const;

 private:
    std::shared_ptr<_GAppInfo> _description;
};

using FileProgramReceiver = std::function<void(const std::vector<FileProgram>& programs)>;

/// Finds the programs that open every one of the files, the default one of the first file's type first; this
/// program is none of them. Looks at the disk on another thread and answers `receive` before it returns when
/// that takes under 40 ms, else when it is done, unless `context` is destroyed by then.
void findProgramsForFiles(const QStringList& paths, const QObject& context,
                          const FileProgramReceiver& receive);

}  // namespace platform
