// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PathBytes.h"

#include <glib.h>

#include <QStringDecoder>

namespace platform {

namespace {

constexpr char16_t escapeBase = 0xDC00;

/// The length of the well-formed UTF-8 sequence at the start of `bytes` (Unicode 15, table 3-7), 0 when there
/// is none.
int sequenceLength(QByteArrayView bytes) {
    const auto at = [&](qsizetype i) {
        return i < bytes.size() ? static_cast<uchar>(bytes[i]) : uchar{0};
    };
    const auto continues = [&](qsizetype i) {
        return (at(i) & 0xC0) == 0x80;
    };
    const uchar first = at(0);
    if (first < 0x80)
        return 1;
    if (first >= 0xC2 && first <= 0xDF)
        return continues(1) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        const bool overlong = first == 0xE0 && at(1) < 0xA0;
        const bool surrogate = first == 0xED && at(1) > 0x9F;
        return continues(1) && continues(2) && !overlong && !surrogate ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool overlong = first == 0xF0 && at(1) < 0x90;
        const bool beyond = first == 0xF4 && at(1) > 0x8F;
        return continues(1) && continues(2) && continues(3) && !overlong && !beyond ? 4 : 0;
    }
    return 0;
}

bool isEscapedByte(QChar c) {
    return c.unicode() >= escapeBase + 0x80 && c.unicode() <= escapeBase + 0xFF;
}

}  // namespace

QString pathFromBytes(QByteArrayView bytes) {
    if (bytes.isValidUtf8())
        return QString::fromUtf8(bytes);
    QString path;
    path.reserve(bytes.size());
    qsizetype start = 0;
    qsizetype i = 0;
    while (i < bytes.size()) {
        if (const int length = sequenceLength(bytes.sliced(i))) {
            i += length;
            continue;
        }
        path += QString::fromUtf8(bytes.sliced(start, i - start));
        path += QChar(static_cast<char16_t>(escapeBase + static_cast<uchar>(bytes[i])));
        start = ++i;
    }
    return path + QString::fromUtf8(bytes.sliced(start));
}

QByteArray bytesFromPath(const QString& path) {
    QByteArray bytes;
    qsizetype start = 0;
    for (qsizetype i = 0; i < path.size(); ++i) {
        const bool paired = i > 0 && path[i - 1].isHighSurrogate();
        if (!isEscapedByte(path[i]) || paired)
            continue;
        bytes += QStringView(path).sliced(start, i - start).toUtf8();
        bytes += static_cast<char>(path[i].unicode() - escapeBase);
        start = i + 1;
    }
    return start == 0 ? path.toUtf8() : bytes + QStringView(path).sliced(start).toUtf8();
}

QString displayablePath(const QString& path) {
    QString shown = path;
    for (qsizetype i = 0; i < shown.size(); ++i) {
        const QChar c = path[i];
        if (c.category() == QChar::Other_Control)
            shown[i] = u' ';
        else if (isEscapedByte(c) && (i == 0 || !path[i - 1].isHighSurrogate()))
            shown[i] = QChar(QChar::ReplacementCharacter);
    }
    return shown;
}

QString lastPathComponent(const QString& path) {
    qsizetype end = path.size();
    while (end > 1 && path[end - 1] == u'/')
        --end;
    if (end == 1 && path[0] == u'/')
        return QStringLiteral("/");
    const qsizetype slash = end == 0 ? -1 : path.lastIndexOf(u'/', end - 1);
    return path.sliced(slash + 1, end - slash - 1);
}

QString pathByDeletingLastComponent(const QString& path) {
    qsizetype end = path.size();
    while (end > 1 && path[end - 1] == u'/')
        --end;
    qsizetype slash = end == 0 ? -1 : path.lastIndexOf(u'/', end - 1);
    if (slash < 0)
        return {};
    while (slash > 0 && path[slash - 1] == u'/')
        --slash;
    return slash == 0 ? QStringLiteral("/") : path.first(slash);
}

QString pathByAppending(const QString& folder, const QString& name) {
    return folder.endsWith(u'/') ? folder + name : folder + u'/' + name;
}

bool isBelowFolder(const QString& path, const QString& folder) {
    return path.startsWith(folder) &&
           (path.size() == folder.size() || folder.endsWith(u'/') || path[folder.size()] == u'/');
}

QByteArray fileUriFromPath(const QString& path) {
    char* uri = g_filename_to_uri(bytesFromPath(path).constData(), nullptr, nullptr);
    QByteArray result(uri);
    g_free(uri);
    return result;
}

QString pathFromFileUri(const QByteArray& uri) {
    char* host = nullptr;
    char* name = g_filename_from_uri(uri.constData(), &host, nullptr);
    QString path;
    if (name != nullptr && (host == nullptr || *host == '\0' || qstrcmp(host, "localhost") == 0))
        path = pathFromBytes(name);
    g_free(host);
    g_free(name);
    return path;
}

}  // namespace platform
