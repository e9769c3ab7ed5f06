// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/views/ImageBrowserView.h"

#include <QAbstractListModel>

namespace platform {

/// The grid's items as the toolkit wants to see them: a count and titles, each asked of the data source at
/// the moment it is needed; nothing is kept per item. Main thread only; borrows the view and its data source.
class GridModel : public QAbstractListModel {
    Q_OBJECT

 public:
    explicit GridModel(ImageBrowserView& view, QObject* parent = nullptr);

    void setDataSource(ImageBrowserViewDataSource* dataSource);
    /// Counts anew; indexes of before are void.
    void reload();

    std::size_t count() const { return _count; }
    /// Null when the data source has no such item.
    ImageBrowserItem* item(std::size_t index) const;
    /// The item's title as a person can read it; empty without an item.
    QString title(std::size_t index) const;
    /// The item's path; null without an item.
    QString path(std::size_t index) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

 private:
    ImageBrowserView& _view;
    ImageBrowserViewDataSource* _dataSource = nullptr;
    std::size_t _count = 0;
};

}  // namespace platform
