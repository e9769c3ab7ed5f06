// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/imaging/ThumbnailQueue.h"
#include "platform/views/ImageBrowserView.h"

#include <QHash>
#include <QStringList>

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

/// A queue that answers when the test says so; it stands in for the real one at link time, as the grid's
/// behaviour between wish and answer is what is tested.
struct QueueScript {
    std::vector<platform::ThumbnailRequest> visible;
    std::vector<platform::ThumbnailRequest> near;
    int wishCount = 0;
    int checkCount = 0;
    QHash<QString, platform::Thumbnail> known;

    QStringList visiblePaths() const { return pathsOf(visible); }
    QStringList nearPaths() const { return pathsOf(near); }

    static QueueScript& shared() {
        static QueueScript script;
        return script;
    }

 private:
    static QStringList pathsOf(const std::vector<platform::ThumbnailRequest>& requests) {
        QStringList paths;
        for (const platform::ThumbnailRequest& request : requests)
            paths += request.path;
        return paths;
    }
};

struct GridTestItem : platform::ImageBrowserItem {
    explicit GridTestItem(QString itemPath) : path(std::move(itemPath)) {}
    RepresentationType imageRepresentationType() const override { return RepresentationType::path; }
    QString imageRepresentation() const override { return path; }
    QString imageUID() const override { return path; }
    QString imageTitle() const override { return path.section(u'/', -1); }
    QString imageSubtitle() const override { return {}; }
    QString path;
};

/// A list of files that the test changes between prepareForReload() and reloadData(), as the program does.
class GridTestSource : public platform::ImageBrowserViewDataSource {
 public:
    std::vector<std::unique_ptr<GridTestItem>> items;

    void fill(int count) {
        for (int i = 0; i < count; ++i)
            items.push_back(std::make_unique<GridTestItem>(pathOf(i)));
    }
    static QString pathOf(int i) { return QStringLiteral("/p/img%1.jpg").arg(i, 4, 10, QLatin1Char('0')); }
    void insertAt(int position, const QString& path) {
        items.insert(items.begin() + position, std::make_unique<GridTestItem>(path));
    }
    void remove(int first, int count) { items.erase(items.begin() + first, items.begin() + first + count); }

    std::size_t numberOfItemsInImageBrowser(platform::ImageBrowserView& /*view*/) override {
        return items.size();
    }
    platform::ImageBrowserItem* imageBrowserItemAtIndex(platform::ImageBrowserView& /*view*/,
                                                        std::size_t index) override {
        return items.at(index).get();
    }
};

struct GridTestDelegate : platform::ImageBrowserViewDelegate {
    std::vector<std::size_t> opened;
    QStringList selectionsWhenOpened;
    QStringList removed;

    void imageBrowserCellWasDoubleClickedAtIndex(platform::ImageBrowserView& view,
                                                 std::size_t index) override {
        opened.push_back(index);
        selectionsWhenOpened += view.selectionIndexes().description();
    }
    void imageBrowserRemoveItemsAtIndexes(platform::ImageBrowserView& /*view*/,
                                          const platform::IndexSet& indexes) override {
        removed += indexes.description();
    }
    void imageBrowserSelectionDidChange(platform::ImageBrowserView& /*view*/) override {}
};
