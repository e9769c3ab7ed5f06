// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <span>

namespace platform {

/// What a command line asks for: a value. It is read before there is a display, and so the toolkit's own
/// options still stand in it; they are passed over.
struct CommandLine {
    enum class Request { run, help, version, misuse };
    Request request = Request::run;
    enum class Start { byUser, byBus };
    Start start = Start::byUser;
    QStringList paths;  ///< the files and folders to open, absolute and without a slash at their ends
    QString problem;    ///< what is wrong, for `misuse`

    /// Reads the arguments that follow the program's name. A path may be relative to `folder`, or a file URI;
    /// "--" ends the options. Bytes that are not UTF-8 are kept (see PathBytes.h). What is met first among
    /// help, version and misuse decides.
    static CommandLine parse(std::span<char* const> arguments, const QString& folder);
};

/// The text of --help.
QByteArray usageText();

/// What is said of a path that nothing is at.
QByteArray nothingThereText(const QString& path);

}  // namespace platform
