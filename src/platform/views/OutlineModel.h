// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/views/OutlineView.h"

#include <QAbstractItemModel>
#include <QStringList>

#include <functional>
#include <unordered_map>
#include <vector>

namespace platform {

/// Where an item is, in words that hold across reloads: the keys (identity and ordinal among equals) of the
/// items from the top level down to it.
using OutlinePlace = QStringList;

/// The snapshot of what an outline's data source has handed out: nodes that share the items, fetched when
/// they are needed and brought up to date by the difference of identities, so that persistent indexes hold.
/// Each node asks for its text and its expandability once between two reloads, when they are first shown.
/// Every question to the data source comes before the rows change, none in between. Main thread only.
class OutlineModel : public QAbstractItemModel {
    Q_OBJECT

 public:
    OutlineModel(OutlineView& outline, QObject* parent);
    ~OutlineModel() override;

    void setDataSource(OutlineViewDataSource* dataSource) { _dataSource = dataSource; }
    void setColumn(TableColumn* column) { _column = column; }
    /// True while the data source is being asked: the rows must not change under its answer.
    bool isAsking() const { return _asking > 0; }

    /// Asks for the top level anew. The nodes that stay get their new items and forget what is below them.
    void reloadTop();
    /// Asks for the text and expandability of one node anew.
    void reloadNode(const QModelIndex& index);
    /// Asks for all fetched nodes below `index` anew as far down as `isExpanded` says; what is below the
    /// others is forgotten until it is needed again.
    void reloadBelow(const QModelIndex& index, const std::function<bool(const QModelIndex&)>& isExpanded);

    /// Whether the item can have children, asked for when it is not known yet.
    bool isExpandable(const QModelIndex& index) const;
    OutlineItemRef itemForIndex(const QModelIndex& index) const;
    QModelIndex indexForItem(const OutlineItem* item) const;
    OutlinePlace placeForIndex(const QModelIndex& index) const;
    /// Invalid when no node is there, or none yet.
    QModelIndex indexForPlace(const OutlinePlace& place) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    /// True also where it is not known yet: a layout asks for every row, and the answer may cost a listing.
    bool hasChildren(const QModelIndex& parent = {}) const override;
    bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;

 private:
    struct Node;
    struct FreshItem;

    Node& nodeForIndex(const QModelIndex& index) const;
    QModelIndex indexForNode(const Node& node) const;
    template <typename Result, typename Question>
    Result ask(const char* where, Result neutral, Question&& question) const;
    std::vector<FreshItem> askForChildren(const Node& node) const;

    void applyDifference(Node& parent, const std::vector<FreshItem>& fresh);
    void removeMissing(Node& parent, const QHash<QString, int>& positions);
    void reorder(Node& parent, const QHash<QString, int>& positions);
    void insertNew(Node& parent, const std::vector<FreshItem>& fresh);
    void removeChildren(Node& parent, int first, int last);
    void forgetChildren(Node& node);
    void setItem(Node& node, const OutlineItemRef& item);
    void forgetItems(Node& node);

    OutlineView& _outline;
    OutlineViewDataSource* _dataSource = nullptr;
    TableColumn* _column = nullptr;
    std::unique_ptr<Node> _root;
    std::unordered_map<const OutlineItem*, Node*> _nodes;
    mutable int _asking = 0;
};

}  // namespace platform
