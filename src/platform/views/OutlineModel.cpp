// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/OutlineModel.h"

#include "platform/Guard.h"
#include "platform/PathBytes.h"

#include <QHash>

#include <algorithm>
#include <iterator>
#include <optional>

namespace platform {

struct OutlineModel::Node {
    OutlineItemRef item;  ///< null for the invisible root only
    QString key;
    Node* parent = nullptr;
    int row = 0;
    std::vector<std::unique_ptr<Node>> children;
    bool isFetched = false;
    std::optional<bool> isExpandable;
    std::optional<QString> text;

    int count() const { return static_cast<int>(children.size()); }
    Node& child(int position) const { return *children[static_cast<std::size_t>(position)]; }
    void renumber(int from) {
        for (int i = from; i < count(); ++i)
            child(i).row = i;
    }
};

struct OutlineModel::FreshItem {
    QString key;
    OutlineItemRef item;
};

namespace {

QString keyOf(const QString& identity, int ordinal) {
    return ordinal == 0 ? identity : identity + QChar(0) + QString::number(ordinal);
}

}  // namespace

OutlineModel::OutlineModel(OutlineView& outline, QObject* parent)
    : QAbstractItemModel(parent), _outline(outline), _root(std::make_unique<Node>()) {
    _root->isFetched = true;
    _root->isExpandable = true;
}

OutlineModel::~OutlineModel() = default;

template <typename Result, typename Question>
Result OutlineModel::ask(const char* where, Result neutral, Question&& question) const {
    if (!_dataSource)
        return neutral;
    ++_asking;
    Result answer = guarded(where, std::move(neutral), std::forward<Question>(question));
    --_asking;
    return answer;
}

std::vector<OutlineModel::FreshItem> OutlineModel::askForChildren(const Node& node) const {
    const OutlineItemRef item = node.item;
    const int count = ask("outline: number of children", -1, [&] {
        return _dataSource->outlineViewNumberOfChildrenOfItem(_outline, item.get());
    });
    std::vector<FreshItem> fresh;
    QHash<QString, int> ordinals;
    for (int i = 0; i < count; ++i) {
        OutlineItemRef child = ask("outline: child", OutlineItemRef(), [&] {
            return _dataSource->outlineViewChildOfItem(_outline, i, item.get());
        });
        if (!child)
            continue;
        const QString identity =
            ask("outline: identity", QString(), [&] { return child->outlineIdentity(); });
        fresh.push_back({keyOf(identity, ordinals[identity]++), std::move(child)});
    }
    return fresh;
}

void OutlineModel::reloadTop() {
    const std::vector<FreshItem> fresh = askForChildren(*_root);
    applyDifference(*_root, fresh);
    for (const auto& node : _root->children)
        forgetChildren(*node);
}

void OutlineModel::reloadNode(const QModelIndex& index) {
    Node& node = nodeForIndex(index);
    node.text.reset();
    node.isExpandable.reset();
    Q_EMIT dataChanged(index, index);
}

void OutlineModel::reloadBelow(const QModelIndex& index,
                               const std::function<bool(const QModelIndex&)>& isExpanded) {
    Node& node = nodeForIndex(index);
    if (!node.isFetched)
        return;
    if (!isExpanded(index)) {
        forgetChildren(node);
        return;
    }
    applyDifference(node, askForChildren(node));
    for (int i = 0; i < node.count(); ++i)
        reloadBelow(indexForNode(node.child(i)), isExpanded);
}

bool OutlineModel::isExpandable(const QModelIndex& index) const {
    Node& node = nodeForIndex(index);
    if (!node.isExpandable) {
        const OutlineItemRef item = node.item;
        node.isExpandable = ask("outline: expandable", false, [&] {
            return _dataSource->outlineViewIsItemExpandable(_outline, item.get());
        });
    }
    return *node.isExpandable;
}

OutlineItemRef OutlineModel::itemForIndex(const QModelIndex& index) const {
    return nodeForIndex(index).item;
}

QModelIndex OutlineModel::indexForItem(const OutlineItem* item) const {
    const auto found = _nodes.find(item);
    return found == _nodes.end() ? QModelIndex() : indexForNode(*found->second);
}

OutlinePlace OutlineModel::placeForIndex(const QModelIndex& index) const {
    OutlinePlace place;
    for (const Node* node = &nodeForIndex(index); node->parent; node = node->parent)
        place.prepend(node->key);
    return place;
}

QModelIndex OutlineModel::indexForPlace(const OutlinePlace& place) const {
    const Node* node = _root.get();
    for (const QString& key : place) {
        const auto found = std::find_if(node->children.begin(), node->children.end(),
                                        [&](const auto& child) { return child->key == key; });
        if (found == node->children.end())
            return {};
        node = found->get();
    }
    return indexForNode(*node);
}

QModelIndex OutlineModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent))
        return {};
    return createIndex(row, column, &nodeForIndex(parent).child(row));
}

QModelIndex OutlineModel::parent(const QModelIndex& child) const {
    return child.isValid() ? indexForNode(*nodeForIndex(child).parent) : QModelIndex();
}

int OutlineModel::rowCount(const QModelIndex& parent) const {
    return parent.column() > 0 ? 0 : nodeForIndex(parent).count();
}

int OutlineModel::columnCount(const QModelIndex&) const {
    return 1;
}

QVariant OutlineModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || !_column || role != Qt::DisplayRole)
        return {};
    Node& node = nodeForIndex(index);
    if (!node.text) {
        const OutlineItemRef item = node.item;
        const QString text = ask("outline: object value", QString(), [&] {
            return _dataSource->outlineViewObjectValueForTableColumnByItem(_outline, *_column, item.get());
        });
        node.text = displayablePath(text);
    }
    return *node.text;
}

QVariant OutlineModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (section != 0 || orientation != Qt::Horizontal || role != Qt::DisplayRole || !_column)
        return {};
    return _column->headerTitle();
}

Qt::ItemFlags OutlineModel::flags(const QModelIndex& index) const {
    if (!index.isValid())
        return Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    const Node& node = nodeForIndex(index);
    if (!node.isExpandable.value_or(true) && node.children.empty())
        flags |= Qt::ItemNeverHasChildren;
    return flags;
}

bool OutlineModel::hasChildren(const QModelIndex& parent) const {
    const Node& node = nodeForIndex(parent);
    if (!node.parent || !node.children.empty())
        return !node.children.empty();
    return node.isExpandable.value_or(true);
}

bool OutlineModel::canFetchMore(const QModelIndex& parent) const {
    const Node& node = nodeForIndex(parent);
    return !node.isFetched && node.isExpandable.value_or(true);
}

void OutlineModel::fetchMore(const QModelIndex& parent) {
    if (!canFetchMore(parent) || isAsking())
        return;
    if (!isExpandable(parent))
        return;
    Node& node = nodeForIndex(parent);
    node.isFetched = true;
    insertNew(node, askForChildren(node));
}

OutlineModel::Node& OutlineModel::nodeForIndex(const QModelIndex& index) const {
    Node* node = index.isValid() ? static_cast<Node*>(index.internalPointer()) : _root.get();
    Q_ASSERT(node);
    return *node;
}

QModelIndex OutlineModel::indexForNode(const Node& node) const {
    return node.parent ? createIndex(node.row, 0, &node) : QModelIndex();
}

void OutlineModel::applyDifference(Node& parent, const std::vector<FreshItem>& fresh) {
    QHash<QString, int> positions;
    for (const FreshItem& item : fresh)
        positions.insert(item.key, static_cast<int>(positions.size()));
    removeMissing(parent, positions);
    reorder(parent, positions);
    for (const auto& child : parent.children)
        setItem(*child, fresh[static_cast<std::size_t>(positions.value(child->key))].item);
    if (parent.count() > 0)
        Q_EMIT dataChanged(indexForNode(parent.child(0)), indexForNode(parent.child(parent.count() - 1)));
    insertNew(parent, fresh);
}

void OutlineModel::removeMissing(Node& parent, const QHash<QString, int>& positions) {
    for (int last = parent.count() - 1; last >= 0; --last) {
        if (positions.contains(parent.child(last).key))
            continue;
        int first = last;
        while (first > 0 && !positions.contains(parent.child(first - 1).key))
            --first;
        removeChildren(parent, first, last);
        last = first;
    }
}

void OutlineModel::reorder(Node& parent, const QHash<QString, int>& positions) {
    const auto precedes = [&](const auto& a, const auto& b) {
        return positions.value(a->key) < positions.value(b->key);
    };
    if (std::is_sorted(parent.children.begin(), parent.children.end(), precedes))
        return;
    const QList<QPersistentModelIndex> parents{QPersistentModelIndex(indexForNode(parent))};
    Q_EMIT layoutAboutToBeChanged(parents, VerticalSortHint);
    std::sort(parent.children.begin(), parent.children.end(), precedes);
    parent.renumber(0);
    const QModelIndexList persistent = persistentIndexList();
    for (const QModelIndex& index : persistent) {
        const Node& node = nodeForIndex(index);
        if (node.parent == &parent)
            changePersistentIndex(index, indexForNode(node));
    }
    Q_EMIT layoutChanged(parents, VerticalSortHint);
}

/// What the parent has already stands in the order of `fresh`; each run that is missing goes in between.
void OutlineModel::insertNew(Node& parent, const std::vector<FreshItem>& fresh) {
    const auto isNextChild = [&](int row, const FreshItem& item) {
        return row < parent.count() && parent.child(row).key == item.key;
    };
    const int count = static_cast<int>(fresh.size());
    for (int first = 0; first < count; ++first) {
        if (isNextChild(first, fresh[static_cast<std::size_t>(first)]))
            continue;
        std::vector<std::unique_ptr<Node>> run;
        for (int i = first; i < count && !isNextChild(first, fresh[static_cast<std::size_t>(i)]); ++i) {
            auto node = std::make_unique<Node>();
            node->key = fresh[static_cast<std::size_t>(i)].key;
            node->parent = &parent;
            setItem(*node, fresh[static_cast<std::size_t>(i)].item);
            run.push_back(std::move(node));
        }
        const int last = first + static_cast<int>(run.size()) - 1;
        beginInsertRows(indexForNode(parent), first, last);
        parent.children.insert(parent.children.begin() + first, std::make_move_iterator(run.begin()),
                               std::make_move_iterator(run.end()));
        parent.renumber(first);
        endInsertRows();
        first = last;
    }
}

void OutlineModel::removeChildren(Node& parent, int first, int last) {
    beginRemoveRows(indexForNode(parent), first, last);
    const auto begin = parent.children.begin() + first;
    const auto end = parent.children.begin() + last + 1;
    const std::vector<std::unique_ptr<Node>> removed(std::make_move_iterator(begin),
                                                     std::make_move_iterator(end));
    parent.children.erase(begin, end);
    parent.renumber(first);
    for (const auto& node : removed)
        forgetItems(*node);
    endRemoveRows();
}

void OutlineModel::forgetChildren(Node& node) {
    if (node.count() > 0)
        removeChildren(node, 0, node.count() - 1);
    node.isFetched = false;
}

void OutlineModel::setItem(Node& node, const OutlineItemRef& item) {
    const auto known = _nodes.find(node.item.get());
    if (known != _nodes.end() && known->second == &node)
        _nodes.erase(known);
    node.item = item;
    node.text.reset();
    node.isExpandable.reset();
    _nodes[item.get()] = &node;
}

void OutlineModel::forgetItems(Node& node) {
    const auto known = _nodes.find(node.item.get());
    if (known != _nodes.end() && known->second == &node)
        _nodes.erase(known);
    for (const auto& child : node.children)
        forgetItems(*child);
}

}  // namespace platform
