// SPDX-License-Identifier: GPL-3.0-or-later
// The volumes' coming and going.
#include "app/TavlinAppDelegate.h"

#include "places/FileBrowserDataSource.h"
#include "platform/desktop/Bundle.h"
#include "platform/PathBytes.h"
#include "platform/views/OutlineView.h"
#include "support/Logging.h"

namespace {

/// The text of a key with its one placeholder filled in.
QString messageForVolume(const char* key, const QString& volumeName) {
    const QString format = platform::Bundle::mainBundle().localizedString(QString::fromLatin1(key));
    const qsizetype placeholder = format.indexOf(u"%@");
    return placeholder < 0 ? format : QString(format).replace(placeholder, 2, volumeName);
}

}  // namespace

/// The volume's place in the list of places serves as its row, as reloading has just collapsed the outline
/// and the volumes are its first rows.
void TavlinAppDelegate::didMount(const QString& path, const QString& name) {
    static constexpr auto method = "-[TavlinAppDelegate didMount:]";
    logWithMethodName(method, 326, u"Heyho someone mounted something at %@", path);
    logWithMethodName(method, 328, u"Localized volume name: %@", name);
    notifyUsingGrowl(messageForVolume("GrowlMessageVolumeMounted", name));
    reloadPlaces();

    auto* places = dynamic_cast<FileBrowserDataSource*>(fileBrowserOutline->delegate());
    const int row = places != nullptr ? places->indexOfVolumeWithURL(platform::fileUriFromPath(path)) : -1;
    if (row < 0)
        return;
    fileBrowserOutline->selectRow(row, true);
    fileBrowserOutline->expandItem(fileBrowserOutline->itemAtRow(row));
}

void TavlinAppDelegate::didUnmount(const QString& path, const QString& name) {
    static constexpr auto method = "-[TavlinAppDelegate didUnmount:]";
    logWithMethodName(method, 365, u"Heyho someone unmounted something at %@", path);
    logWithMethodName(method, 367, u"Localized volume name: %@", name);
    notifyUsingGrowl(messageForVolume("GrowlMessageVolumeUnmounted", name));
    reloadPlaces();

    if (const int row = fileBrowserOutline->selectedRow(); row >= 0)
        fileBrowserOutline->deselectRow(row);
}

void TavlinAppDelegate::reloadPlaces() {
    auto* places = dynamic_cast<FileBrowserDataSource*>(fileBrowserOutline->delegate());
    if (places == nullptr)
        return;
    places->rescanFileSystems();
    const int count = places->outlineViewNumberOfChildrenOfItem(*fileBrowserOutline, nullptr);
    for (int index = 0; index < count; ++index) {
        const platform::OutlineItemRef item =
            places->outlineViewChildOfItem(*fileBrowserOutline, index, nullptr);
        fileBrowserOutline->reloadItem(item.get(), true);
    }
    fileBrowserOutline->reloadData();
}
