// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <span>

namespace platform {

/// What a command line asks for: a value.
struct CommandLine {
    enum class Request { run, help, version, misuse };
    Request request = Request::run;
    QString path;     ///< the folder to open, absolute and without a slash at its end; null for none
    QString problem;  ///< what is wrong, for `misuse`

    /// Reads the arguments that follow the program's name. A path may be relative to `folder`, or a file URI;
    /// "--" ends the options. Bytes that are not UTF-8 are kept (see PathBytes.h).
    static CommandLine parse(std::span<char* const> arguments, const QString& folder);

    /// Whether help or the version is asked for: that is answered before there is a display, and so before
    /// the toolkit has taken its own options out.
    static Request requestWithoutDisplay(std::span<char* const> arguments);
};

/// The text of --help.
QByteArray usageText();

}  // namespace platform
