// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

namespace platform {

/// A path, or a part of one, from the bytes of the directory entry. Loses nothing: a byte that is not part of
/// well-formed UTF-8 travels as the lone surrogate U+DC00 + byte and comes back from bytesFromPath() as it
/// was.
QString pathFromBytes(QByteArrayView bytes);

/// The bytes of a path made by pathFromBytes(); for a path typed by a person, its UTF-8.
QByteArray bytesFromPath(const QString& path);

/// The path as a person can read it: bytes that are not UTF-8 show as U+FFFD, control characters as a blank.
QString displayablePath(const QString& path);

/// The last component: "b" of "/a/b" and of "/a/b/", "/" of "/", the empty string of the empty string.
QString lastPathComponent(const QString& path);

/// The path without its last component: "/a" of "/a/b", "/" of "/a" and of "/", the empty string of "a".
QString pathByDeletingLastComponent(const QString& path);

/// `folder` and `name` with exactly one slash between them.
QString pathByAppending(const QString& folder, const QString& name);

/// Whether `path` is `folder` or lies below it, both absolute, by their texts alone.
bool isBelowFolder(const QString& path, const QString& folder);

/// The file URI of an absolute path, escaped byte for byte as the desktop's other programs do it (RFC 3986 by
/// g_filename_to_uri), so that shared thumbnails meet; empty for a relative path.
QByteArray fileUriFromPath(const QString& path);

/// The absolute path of a local file URI; a null string for any other.
QString pathFromFileUri(const QByteArray& uri);

}  // namespace platform
