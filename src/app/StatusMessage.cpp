// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/StatusMessage.h"

#include "app/Texts.h"
#include "platform/desktop/Recycler.h"
#include "platform/PathBytes.h"

#include <QLocale>
#include <QStringList>

#include <sys/wait.h>

#include <algorithm>
#include <cerrno>

namespace {

/// A tool tip holds no more than this.
constexpr qsizetype mostLines = 24;

QString shortened(const QStringList& lines) {
    QString shown = lines.first(std::min(lines.size(), mostLines)).join(u'\n');
    if (lines.size() > mostLines)
        shown += QStringLiteral("\n…");
    return shown;
}

/// A script's name as people say it.
QString spokenName(const QString& scriptName) {
    const qsizetype dot = scriptName.lastIndexOf(u'.');
    return platform::displayablePath(dot > 0 ? scriptName.first(dot) : scriptName);
}

/// The first line tells what went wrong, but of an interpreter's trace back to it the last.
QString reasonIn(const QStringList& lines, const QString& scriptName) {
    const QString& line = lines.first().startsWith(u"Traceback ") ? lines.last() : lines.first();
    const QString prefix = scriptName + QStringLiteral(": ");
    return line.startsWith(prefix) ? line.sliced(prefix.size()) : line;
}

QString reasonOf(const platform::NotRestored& file) {
    if (!file.isInTrash)
        return text("NotRestoredNotInTrash");
    switch (file.error) {
        case EEXIST:
            return text("NotRestoredNameTaken");
        case ENOENT:
        case ENOTDIR:
            return text("NotRestoredFolderGone");
        case EACCES:
        case EPERM:
        case EROFS:
            return text("NotRestoredFolderProtected");
        case ETIMEDOUT:
            return text("NotRestoredVolumeSilent");
        default:
            return qt_error_string(file.error);
    }
}

}  // namespace

StatusMessage scriptRunningMessage(const QString& scriptName) {
    return {text("MainWindowStatusScriptRunning").arg(spokenName(scriptName)), {}};
}

StatusMessage scriptEndedMessage(const QString& scriptName, int status, const QString& errors) {
    const QString name = spokenName(scriptName);
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (code == 0)
        return {text("MainWindowStatusScriptDone").arg(name), {}};
    QStringList lines = errors.split(u'\n', Qt::SkipEmptyParts);
    for (QString& line : lines)
        line = platform::displayablePath(line);
    if (lines.isEmpty())
        return {text("MainWindowStatusScriptFailed").arg(name, QString::number(code)), {}};
    const QString reason = reasonIn(lines, platform::displayablePath(scriptName));
    return {text("MainWindowStatusScriptFailedBecause").arg(name, QString::number(code), reason),
            shortened(lines)};
}

StatusMessage notRestoredMessage(const std::vector<platform::NotRestored>& files) {
    QStringList lines;
    for (const platform::NotRestored& file : files)
        lines += platform::displayablePath(file.path) + QStringLiteral(": ") + reasonOf(file);
    const QString reason = reasonOf(files.front());
    const QString first = platform::displayablePath(platform::lastPathComponent(files.front().path));
    return {files.size() == 1
                ? text("MainWindowStatusNotRestoredOne").arg(first, reason)
                : text("MainWindowStatusNotRestored")
                      .arg(QLocale().toString(static_cast<qulonglong>(files.size())), first, reason),
            shortened(lines)};
}
