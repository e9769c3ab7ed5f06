// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/PathAndListHelpers.h"

#include "platform/desktop/StandardFolders.h"
#include "platform/desktop/Volumes.h"
#include "platform/FileAccess.h"
#include "support/Logging.h"

#include <algorithm>

using platform::PropertyValue;
using platform::Volume;

namespace {

/// One folder's place in a home of its own kind, and on this desktop.
struct UserFolderPlace {
    QString inUsers;
    QString (*desktopFolder)();
    QString inDesktopFolder;
};

UserFolderPlace placeOf(UserFolder folder) {
    switch (folder) {
        case UserFolder::pictures:
            return {QStringLiteral("/Users/%@/Pictures"), platform::picturesFolder, {}};
        case UserFolder::applicationSupport:
            return {QStringLiteral("/Users/%@/Library/Application Support/Tavlin"), platform::dataHome,
                    QStringLiteral("/Tavlin")};
        case UserFolder::scripts:
            return {QStringLiteral("/Users/%@/Library/Application Support/Tavlin/Scripts"),
                    platform::dataHome, QStringLiteral("/Tavlin/Scripts")};
    }
    return {};
}

/// The elements that `leavesOut` does not name; the log tells each of them.
template <typename LeavesOut>
std::vector<PropertyValue> filtered(const char* name, const std::vector<PropertyValue>& array,
                                    LeavesOut leavesOut) {
    logWithMethodName(name, currentLine(), u"Start!");
    std::vector<PropertyValue> result;
    for (const PropertyValue& element : array) {
        logWithMethodName(name, currentLine(), u"s: %@", element);
        const QString className = element.className();
        const bool isComparable = className == u"NSCFString";
        if (!isComparable)
            logWithMethodName(name, currentLine(), u"classname is not NSString, but %@, adding anyway.",
                              className);
        if (!isComparable || !leavesOut(*element.string()))
            result.push_back(element);
    }
    logWithMethodName(name, currentLine(), u"Ende!");
    return result;
}

}  // namespace

QString userFolderTemplate(UserFolder folder) {
    const UserFolderPlace place = placeOf(folder);
    if (platform::isExistingFolder(QStringLiteral("/Users/") + platform::loginName()))
        return place.inUsers;
    QString path = place.desktopFolder() + place.inDesktopFolder;
    return path.replace(u'%', QStringLiteral("%%"));
}

QString getUserFolder(const QString& format) {
    QString pathToFolder = logging::formatted(format, {logging::describeAny(platform::loginName())});
    logWithMethodName("getUserFolder", 657, u"pathToFolder: %@", pathToFolder);
    return pathToFolder;
}

std::optional<QString> volumeNameForPath(const QString& inPath) {
    constexpr const char* name = "volumeNameForPath";
    logWithMethodName(name, currentLine(), u"inPath: %@", inPath);
    QList<Volume> volumes = platform::mountedVolumes();
    const QString home = platform::homeFolder() + u'/';
    volumes.removeIf([&](const Volume& volume) { return volume.path.startsWith(home); });
    std::stable_sort(volumes.begin(), volumes.end(),
                     [](const Volume& a, const Volume& b) { return a.path.size() < b.path.size(); });
    for (const Volume& volume : volumes) {
        logWithMethodName(name, currentLine(), u"found path: %@", volume.path);
        if (volume.path.startsWith(inPath)) {
            logWithMethodName(name, currentLine(), u"path matches!");
            logWithMethodName(name, currentLine(), u"volumeName: %@", volume.name);
            return volume.name;
        }
    }
    return std::nullopt;
}

std::vector<PropertyValue> createNewArrayFromArrayWithoutString(const std::vector<PropertyValue>& array,
                                                                const QString& string) {
    return filtered("createNewArrayFromArrayWithoutString", array,
                    [&](const QString& element) { return element == string; });
}

std::vector<PropertyValue> createNewArrayFromArrayWithoutStringContaining(
    const std::vector<PropertyValue>& array, const QString& string) {
    return filtered("createNewArrayFromArrayWithoutStringContaining", array,
                    [&](const QString& element) { return !string.isEmpty() && element.contains(string); });
}
