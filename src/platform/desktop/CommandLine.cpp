// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/CommandLine.h"

#include "platform/FileAccess.h"
#include "platform/PathBytes.h"

#include <algorithm>
#include <array>
#include <optional>

namespace platform {

namespace {

using Request = CommandLine::Request;

/// What the toolkit takes for itself, with one dash or two (QApplication, QGuiApplication and the xcb
/// platform of Qt 6). Those with a value have it in the next argument; a few may have it after "=" instead.
constexpr std::array<QByteArrayView, 4> switches{"reverse", "nograb", "dograb", "widgetcount"};
constexpr std::array<QByteArrayView, 16> valued{
    "platform",    "platformpluginpath", "platformtheme", "plugin", "qmljsdebugger", "qwindowgeometry",
    "qwindowicon", "qwindowtitle",       "geometry",      "icon",   "title",         "session",
    "style",       "stylesheet",         "display",       "name"};
constexpr std::array<QByteArrayView, 3> valuedByEquals{"style", "stylesheet", "qmljsdebugger"};

enum class ToolkitOption { none, alone, withNext };

ToolkitOption toolkitOption(QByteArrayView argument) {
    const QByteArrayView name = argument.sliced(argument.startsWith("--") ? 2 : 1);
    const auto isOneOf = [](const auto& names, QByteArrayView option) {
        return std::ranges::find(names, option) != names.end();
    };
    if (isOneOf(valued, name))
        return ToolkitOption::withNext;
    const qsizetype equals = name.indexOf('=');
    const bool isAlone = equals < 0 ? isOneOf(switches, name) : isOneOf(valuedByEquals, name.first(equals));
    return isAlone ? ToolkitOption::alone : ToolkitOption::none;
}

std::optional<Request> ownOption(QByteArrayView argument) {
    if (argument == "--help" || argument == "-h")
        return Request::help;
    if (argument == "--version" || argument == "-v")
        return Request::version;
    return std::nullopt;
}

CommandLine asking(Request request, const QString& problem = {}) {
    CommandLine result;
    result.request = request;
    result.problem = problem;
    return result;
}

CommandLine misuse(const QString& problem) {
    return asking(Request::misuse, problem);
}

/// A null string for an address of no file of this computer.
QString absolutePath(const QByteArray& argument, const QString& folder) {
    const QString path = argument.startsWith("file:") ? pathFromFileUri(argument) : pathFromBytes(argument);
    return path.isNull() ? path : plainPath(path.startsWith(u'/') ? path : pathByAppending(folder, path));
}

}  // namespace

CommandLine CommandLine::parse(std::span<char* const> arguments, const QString& folder) {
    CommandLine result;
    bool optionsEnded = false;
    for (auto next = arguments.begin(); next != arguments.end(); ++next) {
        const QByteArray argument = *next;
        if (!optionsEnded && argument.size() > 1 && argument.startsWith('-')) {
            const auto request = ownOption(argument);
            const ToolkitOption toolkit = toolkitOption(argument);
            if (request)
                return asking(*request);
            if (argument == "--")
                optionsEnded = true;
            else if (argument == "--service")
                result.start = Start::byBus;
            else if (toolkit == ToolkitOption::none)
                return misuse(QStringLiteral("unknown option \"%1\"").arg(QString::fromUtf8(argument)));
            else if (toolkit == ToolkitOption::withNext && next + 1 != arguments.end())
                ++next;
        } else if (argument.isEmpty()) {
            return misuse(QStringLiteral("a path is empty"));
        } else {
            result.paths += absolutePath(argument, folder);
            if (result.paths.constLast().isNull())
                return misuse(
                    QStringLiteral("not a file of this computer: \"%1\"").arg(QString::fromUtf8(argument)));
        }
    }
    return result;
}

QByteArray usageText() {
    return "Usage: tavlin [OPTION...] [FOLDER | FILE...]\n"
           "Shows the pictures of FOLDER, or of the folder shown last. Each FILE opens in a window of its "
           "own,\n"
           "and the first one's folder is shown; of several folders the first one is. A path may be a file: "
           "URI.\n"
           "Where the program runs already, the running one opens them.\n"
           "\n"
           "  -h, --help     print this text and end\n"
           "  -v, --version  print the version and end\n"
           "      --service  started by the session bus: open what it asks for\n"
           "\n"
           "The toolkit's own options, such as -style and -platform, are understood as well.\n";
}

QByteArray nothingThereText(const QString& path) {
    return "tavlin: there is no file or folder \"" + displayablePath(path).toUtf8() + "\"\n";
}

}  // namespace platform
