// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Shell.h"

#include "platform/DescriptorLimit.h"
#include "platform/FileAccess.h"
#include "platform/PathBytes.h"
#include "platform/TemporaryFolder.h"
#include "support/ErrorOutput.h"
#include "support/Logging.h"

#include <fcntl.h>

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace {

/// A command in 7-bit ASCII, or nothing when it holds another character.
std::optional<QByteArray> asciiCommand(const QString& command) {
    const bool ascii =
        std::all_of(command.begin(), command.end(), [](QChar c) { return c.unicode() < 0x80; });
    return ascii ? std::optional(command.toLatin1()) : std::nullopt;
}

/// Without a command nothing runs; the answer then says whether there is a shell.
int runInShell(const std::optional<QByteArray>& command, const QByteArray& redirection = {}) {
    if (!command)
        return std::system(nullptr);
    // For the command alone, which may take its time.
    const auto limit = platform::inheritedDescriptorLimit();
    const QByteArray prefix =
        limit ? "ulimit -Sn " + QByteArray::number(qulonglong(*limit)) + "\n" : QByteArray();
    return std::system((prefix + redirection + *command).constData());
}

int runAndCatchErrors(const std::optional<QByteArray>& command, QString& errors) {
    ErrorOutput output;
    const int status = runInShell(command, output.redirection());
    errors = QString::fromLocal8Bit(output.take());
    return status;
}

std::optional<QByteArray> readWhole(const QString& path) {
    QFile file;
    platform::ScopedFileDescriptor descriptor = platform::openRegularFile(path);
    if (!descriptor.isValid() || !file.open(descriptor.release(), QFile::ReadOnly, QFile::AutoCloseHandle))
        return std::nullopt;
    const QByteArray bytes = file.readAll();
    return file.error() == QFile::NoError ? std::optional(bytes) : std::nullopt;
}

bool isNewline(QChar c) {
    const char16_t unit = c.unicode();
    return (unit >= 0x0A && unit <= 0x0D) || unit == 0x85 || unit == 0x2028 || unit == 0x2029;
}

QStringList linesOf(const QString& text) {
    QStringList lines;
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!isNewline(text[i]))
            continue;
        lines += text.sliced(start, i - start);
        start = i + 1;
    }
    return lines << text.sliced(start);
}

}  // namespace

QString getOurProcessName() {
    return platform::pathFromBytes(::program_invocation_short_name);
}

QString getNewTempFilePath(const QString& suffix) {
    constexpr auto method = "getNewTempFilePath";
    logWithMethodName(method, currentLine(), u"Creating new temp file path...");
    QString path = platform::temporaryFolder();
    if (path.isNull())
        path = QStringLiteral("/tmp");
    path += getOurProcessName() + u'_' + suffix + QStringLiteral(".tmp");
    logWithMethodName(method, currentLine(), u"Creating new temp file path: %@", path);
    return path;
}

QString createTempFileWithContentString(const QString& content, const QString& suffix) {
    constexpr auto method = "createTempFileWithContentString";
    QString path = getNewTempFilePath(suffix);
    logWithMethodName(method, currentLine(), u"Creating new temp file: %@", path);
    const QString marked = QChar(QChar::ByteOrderMark) + content;
    platform::ScopedFileDescriptor descriptor(
        ::open(platform::bytesFromPath(path).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    QFile file;
    if (descriptor.isValid() && file.open(descriptor.release(), QFile::WriteOnly, QFile::AutoCloseHandle))
        file.write(reinterpret_cast<const char*>(marked.utf16()),
                   marked.size() * qsizetype{sizeof(char16_t)});
    file.close();
    logWithMethodName(method, currentLine(), u"Creating new temp file...DONE");
    return path;
}

std::optional<QString> fileContentsAsString(const QString& path) {
    constexpr auto method = "fileContentsAsString";
    logWithMethodName(method, currentLine(), u"foo3");
    std::optional<QString> text;
    if (const auto bytes = readWhole(path); bytes && bytes->isValidUtf8())
        text = QString::fromUtf8(*bytes);
    logWithMethodName(method, currentLine(), u"foo4");
    return text;
}

int deleteFileAtPath(const QString& path) {
    constexpr auto method = "deleteFileAtPath";
    logWithMethodName(method, currentLine(), u"Removing file at: %@", path);
    const int status = runInShell("rm \"" + platform::bytesFromPath(path) + '"');
    logWithMethodName(method, currentLine(), u"Returned: %i", status);
    return status;
}

std::optional<QStringList> executeScriptAndCollectOutput(const QString& command) {
    constexpr auto method = "executeScriptAndCollectOutput";
    const QString output = getNewTempFilePath(QStringLiteral("checkARDState"));
    const QString full = command + QStringLiteral(" > \"") + output + QStringLiteral("\" 2>&1");
    logWithMethodName(method, currentLine(), u"commandWithTempfilePipe: %@", full);
    const auto ascii = asciiCommand(full);
    logWithMethodName(method, currentLine(), u"1foo");
    runInShell(ascii);
    logWithMethodName(method, currentLine(), u"2foo");
    const auto text = fileContentsAsString(output);
    logWithMethodName(method, currentLine(), u"contentsAtPath: \"%@\"", text);
    std::optional<QStringList> lines;
    if (text)
        lines = linesOf(*text);
    logWithMethodName(method, currentLine(), u"lines: \"%@\"", lines);
    deleteFileAtPath(output);
    return lines;
}

std::optional<QStringList> createFolder(const QString& path) {
    return executeScriptAndCollectOutput(
        QStringLiteral("test ! -d \"%1\" && mkdir \"%1\"").replace(QStringLiteral("%1"), path));
}

int runScriptWithParameter(const QString& scriptPath, const QString& parameter, QString* errors) {
    constexpr auto method = "runScriptWithParameter";
    logWithMethodName(method, currentLine(), u"Running script %@ from bundle's folder...", scriptPath);
    logWithMethodName(method, currentLine(), u"args: %@", parameter);
    const QString output = getNewTempFilePath(QStringLiteral("runScriptWithParameter"));
    const QString command = QStringLiteral("osascript \"") + scriptPath + QStringLiteral("\" \"") +
                            parameter + QStringLiteral("\" > \"") + output + u'"';
    const auto ascii = asciiCommand(command);
    logWithMethodName(method, currentLine(), u"command: %s", ascii ? ascii->constData() : "(null)");
    const int status = errors == nullptr ? runInShell(ascii) : runAndCatchErrors(ascii, *errors);
    logWithMethodName(method, currentLine(), u"commandResult: %i", status);
    // The output may be huge: it is read back only for a log that wants it.
    logWithMethodName(method, currentLine(), u"resultString: %@",
                      [&] { return fileContentsAsString(output); });
    deleteFileAtPath(output);
    logWithMethodName(method, currentLine(), u"Running script from bundle's folder...DONE");
    return status;
}
