// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/views/OutlineView.h"

#include <QMap>
#include <QSet>
#include <QStringList>

#include <stdexcept>
#include <vector>

/// A tree of paths that feeds an outline as the program does: new top-level items for each question, children
/// listed once per item. Notes what it is asked; may be told to throw.
class FakeTree : public platform::OutlineViewDataSource, public platform::OutlineViewDelegate {
 public:
    using OutlineView = platform::OutlineView;
    using OutlineItem = platform::OutlineItem;
    using TableColumn = platform::TableColumn;

    struct Item : OutlineItem {
        explicit Item(QString itsPath) : path(std::move(itsPath)) {}
        QString outlineIdentity() const override { return path; }
        QString path;
        bool isListed = false;
        std::vector<platform::OutlineItemRef> children;
    };

    static QString pathOf(const OutlineItem* item) {
        return item ? static_cast<const Item*>(item)->path : QString();
    }

    /// The paths below a path, those at the top below the empty string.
    QMap<QString, QStringList> below;
    QSet<QString> leaves;
    QStringList asked;
    int selectionChanges = 0;
    QString throwing;

    int outlineViewNumberOfChildrenOfItem(OutlineView&, OutlineItem* item) override {
        note("count", item);
        return leaves.contains(pathOf(item)) ? -1 : static_cast<int>(list(item).size());
    }
    platform::OutlineItemRef outlineViewChildOfItem(OutlineView&, int index, OutlineItem* item) override {
        note("child", item);
        return list(item)[static_cast<std::size_t>(index)];
    }
    bool outlineViewIsItemExpandable(OutlineView&, OutlineItem* item) override {
        note("expandable", item);
        return !leaves.contains(pathOf(item));
    }
    QString outlineViewObjectValueForTableColumnByItem(OutlineView&, TableColumn&,
                                                       OutlineItem* item) override {
        note("text", item);
        return pathOf(item).section(u'/', -1);
    }
    bool outlineViewShouldEditTableColumnItem(OutlineView&, TableColumn&, OutlineItem*) override {
        return false;
    }
    void outlineViewWillDisplayCellForTableColumnItem(OutlineView&, platform::TextFieldCell&, TableColumn&,
                                                      OutlineItem* item) override {
        note("display", item);
    }
    void outlineViewSelectionDidChange(OutlineView&) override {
        ++selectionChanges;
        note("selection", nullptr);
    }

 private:
    void note(const char* question, const OutlineItem* item) {
        const QString what = QString::fromLatin1(question);
        asked.append(what + u' ' + pathOf(item));
        if (what == throwing)
            throw std::runtime_error("the fake was told to throw");
    }

    const std::vector<platform::OutlineItemRef>& list(OutlineItem* item) {
        std::vector<platform::OutlineItemRef>& items = item ? static_cast<Item*>(item)->children : _top;
        if (!item || !static_cast<Item*>(item)->isListed) {
            items.clear();
            for (const QString& path : below.value(pathOf(item)))
                _handedOut.push_back(items.emplace_back(std::make_shared<Item>(path)));
        }
        if (item)
            static_cast<Item*>(item)->isListed = true;
        return items;
    }

    std::vector<platform::OutlineItemRef> _top;
    std::vector<platform::OutlineItemRef> _handedOut;  ///< kept, so that no address comes twice
};
