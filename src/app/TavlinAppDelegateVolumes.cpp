// SPDX-License-Identifier: GPL-3.0-or-later
// The volumes' coming and going.
#include "app/TavlinAppDelegate.h"

#include "app/Texts.h"
#include "places/FileBrowserDataSource.h"
#include "platform/PathBytes.h"
#include "platform/views/OutlineView.h"
#include "support/Logging.h"

namespace {

/// What the log and the user are told of a volume's coming or going.
struct VolumeEvent {
    const char* method;
    int pathLine;
    const char16_t* pathFormat;
    int nameLine;
    const char* messageKey;
};

constexpr VolumeEvent mounted{"-[TavlinAppDelegate didMount:]", 326, u"Heyho someone mounted something at %@",
                              328, "GrowlMessageVolumeMounted"};
constexpr VolumeEvent unmounted{"-[TavlinAppDelegate didUnmount:]", 365,
                                u"Heyho someone unmounted something at %@", 367,
                                "GrowlMessageVolumeUnmounted"};

/// The text of a key with its one placeholder filled in.
QString messageForVolume(const char* key, const QString& volumeName) {
    const QString format = text(key);
    const qsizetype placeholder = format.indexOf(u"%@");
    return placeholder < 0 ? format : QString(format).replace(placeholder, 2, volumeName);
}

void tell(TavlinAppDelegate& delegate, const VolumeEvent& event, const QString& path, const QString& name) {
    logWithMethodName(event.method, event.pathLine, event.pathFormat, path);
    logWithMethodName(event.method, event.nameLine, u"Localized volume name: %@", name);
    delegate.notifyUsingGrowl(messageForVolume(event.messageKey, name));
}

}  // namespace

/// The volume's place in the list of places serves as its row, as reloading has just collapsed the outline
/// and the volumes are its first rows.
void TavlinAppDelegate::didMount(const QString& path, const QString& name) {
    tell(*this, mounted, path, name);
    reloadPlaces();

    auto* places = dynamic_cast<FileBrowserDataSource*>(fileBrowserOutline->delegate());
    const int row = places != nullptr ? places->indexOfVolumeWithURL(platform::fileUriFromPath(path)) : -1;
    if (row < 0)
        return;
    fileBrowserOutline->selectRow(row, true);
    fileBrowserOutline->expandItem(fileBrowserOutline->itemAtRow(row));
}

void TavlinAppDelegate::didUnmount(const QString& path, const QString& name) {
    tell(*this, unmounted, path, name);
    reloadPlaces();

    if (const int row = fileBrowserOutline->selectedRow(); row >= 0)
        fileBrowserOutline->deselectRow(row);
}

void TavlinAppDelegate::didRenameVolume(const QString& path, const QString& name) {
    if (auto* places = dynamic_cast<FileBrowserDataSource*>(fileBrowserOutline->delegate()))
        places->renamePlace(path, name);
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
