// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace platform {

/// One column of an outline or a table: its identifier and the title its header shows. Owned by its view,
/// which overrides setHeaderTitle() to show it.
class TableColumn {
 public:
    explicit TableColumn(QString identifier) : _identifier(std::move(identifier)) {}
    virtual ~TableColumn() = default;

    const QString& identifier() const { return _identifier; }
    const QString& headerTitle() const { return _headerTitle; }
    virtual void setHeaderTitle(const QString& title) { _headerTitle = title; }

 private:
    QString _identifier;
    QString _headerTitle;
};

}  // namespace platform
