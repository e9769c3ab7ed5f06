// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// What the program does outside its own process: command lines of fixed templates, run by the system's shell.
// Paths stand in double quotes and nothing in them is escaped. Main thread; each call blocks until its
// command has ended.

/// The name of the running program.
QString getOurProcessName();

/// The path "<temporary folder><process name>_<suffix>.tmp"; the file is not made. Always the same for a
/// suffix.
QString getNewTempFilePath(const QString& suffix);

/// Writes a text as UTF-16 with a byte-order mark, in the machine's byte order, readable by the user alone,
/// and answers the file's path. Bytes of a path that are not UTF-8 stand in it as the lone surrogates U+DC80
/// to U+DCFF.
QString createTempFileWithContentString(const QString& content, const QString& suffix);

/// A file's text, or nothing when it is missing, unreadable or not UTF-8.
std::optional<QString> fileContentsAsString(const QString& path);

/// Removes a file by rm and answers the shell's status.
int deleteFileAtPath(const QString& path);

/// Runs a command and answers the lines it printed on standard output and standard error, the last one empty
/// where the output ends in a newline; nothing when there is no output to read.
std::optional<QStringList> executeScriptAndCollectOutput(const QString& command);

/// Makes one folder where there is none.
std::optional<QStringList> createFolder(const QString& path);

/// Runs a script with one parameter by osascript and answers the shell's status. Its error output goes to the
/// program's own, and its beginning to `errors` as well where that is asked for.
int runScriptWithParameter(const QString& scriptPath, const QString& parameter, QString* errors = nullptr);
