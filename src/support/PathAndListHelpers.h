// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/PropertyValue.h"

#include <QString>

#include <optional>
#include <vector>

/// The user's own folders that the program asks for.
enum class UserFolder { pictures, applicationSupport, scripts };

/// The template of a folder for getUserFolder(): below /Users/<login> where that is a folder, otherwise where
/// this desktop keeps such things; the data home is there then. Any thread.
QString userFolderTemplate(UserFolder folder);

/// The path of a template: "%@" becomes the login name, "%%" a percent sign. Where the home folder is does
/// not matter: the template carries the layout.
QString getUserFolder(const QString& format);

/// The name of the first mounted volume whose root path starts with `inPath`; nothing when none does. Shorter
/// root paths come first, equal ones in mount order; volumes below the home folder do not count, or one of
/// them would give its name to the home folder. Main thread.
std::optional<QString> volumeNameForPath(const QString& inPath);

/// The elements in their order without the texts equal to `string`. Elements that are no text stay.
std::vector<platform::PropertyValue> createNewArrayFromArrayWithoutString(
    const std::vector<platform::PropertyValue>& array, const QString& string);

/// The same without the texts that contain `string`. The empty text is never found.
std::vector<platform::PropertyValue> createNewArrayFromArrayWithoutStringContaining(
    const std::vector<platform::PropertyValue>& array, const QString& string);
