// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/PropertyValue.h"

#include <QImage>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

// Helpers that the program keeps and does not call. None holds state; any thread may call them, but
// for those that say otherwise.

/// Whether a text is four numbers from 0 to 255 with dots between them. Lenient on purpose: an empty piece
/// counts as 0, and leading zeros do not matter.
bool isIPv4AddressString(const std::optional<QString>& string);

/// The addresses of this host's interfaces, IPv4 before IPv6, other interfaces before the loopback one.
/// Source: getifaddrs(3).
QStringList getAllAddresses();
/// The first of those, or nothing.
std::optional<QString> getPrimaryAddress();
QStringList getAllIPv4Addresses();

/// The text in UTF-8, each byte percent-escaped that is not legal in a URL (RFC 2396, section 2), and "&" as
/// well. Bytes of a path that are not UTF-8 are escaped as they are.
QString urlencode(const QString& string);
/// The same back. A percent sign without two hexadecimal digits stands as it is.
QString urldecode(const QString& string);

/// A copy of the arrays ("NSCFArray") and dictionaries within an array. Everything else is dropped.
std::vector<platform::PropertyValue> mutableCopyOfArray(const std::vector<platform::PropertyValue>& array);
/// Replaces the arrays and dictionaries within a dictionary by such copies and answers the same dictionary.
platform::PropertyDictionary& makeAllContainedDictionaryObjectsMutable(
    platform::PropertyDictionary& dictionary);

/// A progress bar of `width` by `height` pixels: light grey in a black frame, the bar inset by one pixel.
/// Main thread.
QImage progressImageWithPercent(int percent, float width, float height);

/// The system's folder for temporary files, "/tmp" where there is none. Main thread.
QString getNewTempFolderPath();

/// Copies a text and its terminating NUL into `buffer`, which holds `maxLength` bytes; false, and nothing
/// copied, when it does not fit or is not 7-bit ASCII.
bool getCString(const QString& string, char* buffer, int maxLength);
