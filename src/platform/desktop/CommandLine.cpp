// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/CommandLine.h"

#include "platform/PathBytes.h"

#include <QDir>

namespace platform {

namespace {

CommandLine misuse(const QString& problem) {
    return {CommandLine::Request::misuse, {}, problem};
}

QString absolutePath(const QByteArray& argument, const QString& folder) {
    if (argument.startsWith("file:"))
        return pathFromFileUri(argument);
    const QString path = pathFromBytes(argument);
    return QDir::cleanPath(path.startsWith(u'/') ? path : pathByAppending(folder, path));
}

CommandLine::Request requestOf(const QByteArray& option) {
    if (option == "--help" || option == "-h")
        return CommandLine::Request::help;
    if (option == "--version" || option == "-v")
        return CommandLine::Request::version;
    return CommandLine::Request::run;
}

}  // namespace

CommandLine CommandLine::parse(std::span<char* const> arguments, const QString& folder) {
    CommandLine result;
    bool optionsEnded = false;
    for (const QByteArray argument : arguments) {
        if (!optionsEnded && argument == "--") {
            optionsEnded = true;
        } else if (!optionsEnded && argument.startsWith('-') && argument.size() > 1) {
            const Request request = requestOf(argument);
            if (request == Request::run)
                return misuse(QStringLiteral("unknown option \"%1\"").arg(QString::fromUtf8(argument)));
            result.request = request;
        } else if (argument.isEmpty()) {
            return misuse(QStringLiteral("the folder's name is empty"));
        } else if (!result.path.isNull()) {
            return misuse(QStringLiteral("more than one folder"));
        } else {
            result.path = absolutePath(argument, folder);
            if (result.path.isNull())
                return misuse(
                    QStringLiteral("not a folder of this computer: \"%1\"").arg(QString::fromUtf8(argument)));
        }
    }
    return result;
}

CommandLine::Request CommandLine::requestWithoutDisplay(std::span<char* const> arguments) {
    for (const QByteArray argument : arguments) {
        if (argument == "--")
            break;
        if (const Request request = requestOf(argument); request != Request::run)
            return request;
    }
    return Request::run;
}

QByteArray usageText() {
    return "Usage: tavlin [OPTION...] [FOLDER]\n"
           "Shows the pictures of FOLDER, or of the folder shown last.\n"
           "\n"
           "  -h, --help     print this text and end\n"
           "  -v, --version  print the version and end\n"
           "\n"
           "The toolkit's own options, such as -style and -platform, are understood as well.\n";
}

}  // namespace platform
