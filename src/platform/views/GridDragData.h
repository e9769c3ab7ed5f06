// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMimeData>
#include <QPixmap>
#include <QStringList>

#include <vector>

namespace platform {

/// The files that are dragged out, offered as a file list that is made when a target asks for it.
class GridDragData : public QMimeData {
    Q_OBJECT

 public:
    explicit GridDragData(QStringList paths);

    QStringList formats() const override;
    bool hasFormat(const QString& format) const override;

 protected:
    QVariant retrieveData(const QString& format, QMetaType type) const override;

 private:
    QStringList _paths;
};

/// What hangs on the pointer: up to three of the pictures, one over the other, and how many files there are.
QPixmap makeDragPixmap(const std::vector<QPixmap>& pictures, std::size_t count, const QPalette& palette,
                       qreal devicePixelRatio);

}  // namespace platform
