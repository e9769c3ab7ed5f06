// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "places/FileSystemItem.h"
#include "platform/views/OutlineView.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

class ImageBrowserDataSource;

/// Feeds the places outline and is told of its events: the mounted volumes, the user's home and pictures, and
/// the folders below them. A new selection is loaded into the image browser. It borrows both; main thread
/// only.
class FileBrowserDataSource : public platform::OutlineViewDataSource, public platform::OutlineViewDelegate {
 public:
    FileBrowserDataSource();
    ~FileBrowserDataSource() override;
    FileBrowserDataSource(const FileBrowserDataSource&) = delete;
    FileBrowserDataSource& operator=(const FileBrowserDataSource&) = delete;

    void setImageBrowserDataSource(ImageBrowserDataSource* dataSource) {
        _imageBrowserDataSource = dataSource;
    }
    void setFileBrowserOutlineView(platform::OutlineView* outline) { _fileBrowserOutlineView = outline; }

    int outlineViewNumberOfChildrenOfItem(platform::OutlineView& outline,
                                          platform::OutlineItem* item) override;
    platform::OutlineItemRef outlineViewChildOfItem(platform::OutlineView& outline, int index,
                                                    platform::OutlineItem* item) override;
    bool outlineViewIsItemExpandable(platform::OutlineView& outline, platform::OutlineItem* item) override;
    QString outlineViewObjectValueForTableColumnByItem(platform::OutlineView& outline,
                                                       platform::TableColumn& column,
                                                       platform::OutlineItem* item) override;

    bool outlineViewShouldEditTableColumnItem(platform::OutlineView& outline, platform::TableColumn& column,
                                              platform::OutlineItem* item) override;
    void outlineViewWillDisplayCellForTableColumnItem(platform::OutlineView& outline,
                                                      platform::TextFieldCell& cell,
                                                      platform::TableColumn& column,
                                                      platform::OutlineItem* item) override;
    void outlineViewSelectionDidChange(platform::OutlineView& outline) override;

    /// Makes the list of top-level places anew: the visible volumes, the home folder, the pictures folder.
    void rescanFileSystems();
    /// Gives the row of a top-level place its new name.
    void renamePlace(const QString& path, const QString& name);
    /// The item of the selected row, or null.
    FileSystemItem* selectedItem() const;
    /// The position of a file URI in the list of top-level places, -1 for none. It is a row of the outline
    /// only while no place above it is expanded.
    int indexOfVolumeWithURL(const QByteArray& url) const;
    /// The outline's row of the first child with this display name; -1 when there is none, or the outline
    /// does not show it. A null container means the top level.
    int indexOfItemWithTitleContainedByItem(const QString& title, FileSystemItem* item);
    void reloadContentsOfSelectedItem();

    /// Opens the outline down to a folder (an absolute path) and selects its row, or that of its deepest
    /// ancestor that the outline can show. It starts in the branch of `near` before the home or the pictures
    /// folder, and there before a volume, and waits for slow places between turns of the event loop until the
    /// user selects something. False when no top-level place contains the folder.
    bool revealFolder(const QString& path, const FileSystemItem* near = nullptr);
    /// The subfolders of the selected place as they are now.
    void listSelectedAgain();

 private:
    platform::ImageRef iconOfItem(FileSystemItem& item) const;
    bool isUserFolder(const QString& path) const;
    void childrenArrived(FileSystemItem& item);
    FileSystemItem* topLevelItemContaining(const QString& path) const;
    void listAgain(FileSystemItem& item);
    void continueReveal();

    ImageBrowserDataSource* _imageBrowserDataSource = nullptr;
    platform::OutlineView* _fileBrowserOutlineView = nullptr;
    std::vector<QByteArray> _mountedVolumes;  ///< file URIs

    std::shared_ptr<FileSystemItem::ChildrenArrived> _childrenArrived;
    std::optional<QString> _folderToReveal;
    QString _branchToReveal;       ///< the top-level place to reveal it in, if that holds it; null for any
    bool _hasListedAgain = false;  ///< a folder, while revealing one that it did not hold
    bool _isSelectingRevealed = false;
};
