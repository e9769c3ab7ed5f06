// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/views/TableColumn.h"

#include <functional>
#include <utility>

namespace platform {

/// The column of a view that wants to know of a new header title.
class ViewColumn : public TableColumn {
 public:
    ViewColumn(QString identifier, std::function<void()> titleChanged)
        : TableColumn(std::move(identifier)), _titleChanged(std::move(titleChanged)) {}

    void setHeaderTitle(const QString& title) override {
        TableColumn::setHeaderTitle(title);
        _titleChanged();
    }

 private:
    std::function<void()> _titleChanged;
};

}  // namespace platform
