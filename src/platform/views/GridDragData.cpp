// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/GridDragData.h"

#include "platform/FileList.h"

#include <QApplication>
#include <QLocale>
#include <QPainter>
#include <QPalette>

#include <algorithm>
#include <utility>

namespace platform {

GridDragData::GridDragData(QStringList paths) : _paths(std::move(paths)) {
}

QStringList GridDragData::formats() const {
    return {fileListType};
}

bool GridDragData::hasFormat(const QString& format) const {
    return format == fileListType;
}

QVariant GridDragData::retrieveData(const QString& format, QMetaType /*type*/) const {
    return format == fileListType ? QVariant(fileListFromPaths(_paths)) : QVariant();
}

QPixmap makeDragPixmap(const std::vector<QPixmap>& pictures, std::size_t count, const QPalette& palette,
                       qreal devicePixelRatio) {
    constexpr int side = 96;
    constexpr int step = 6;
    constexpr std::size_t most = 3;
    const std::size_t shown = std::min(pictures.size(), most);
    const int extent = side + step * int(most);
    QPixmap drag(QSize(extent, extent) * devicePixelRatio);
    drag.setDevicePixelRatio(devicePixelRatio);
    drag.fill(Qt::transparent);
    QPainter painter(&drag);
    painter.setRenderHints(QPainter::SmoothPixmapTransform | QPainter::Antialiasing);
    for (std::size_t i = shown; i-- > 0;) {
        QSizeF size = pictures[i].size();
        size.scale(side, side, Qt::KeepAspectRatio);
        QRectF rect(QPointF(), size);
        rect.moveCenter(QPointF(side / 2.0 + step * double(i), side / 2.0 + step * double(i)));
        painter.setOpacity(0.9);
        painter.drawPixmap(rect, pictures[i], QRectF(pictures[i].rect()));
        painter.setPen(QPen(QColor(255, 255, 255, 200), 1));
        painter.drawRect(rect);
    }
    if (count > 1) {
        const QString text = QLocale().toString(qulonglong(count));
        QFont font = QApplication::font();
        font.setBold(true);
        const QFontMetrics metrics(font);
        QRectF badge(0, 0, std::max(metrics.horizontalAdvance(text) + 12, 22), metrics.height() + 6);
        badge.moveBottomRight(QPointF(extent - 1, extent - 1));
        painter.setOpacity(1);
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette.color(QPalette::Active, QPalette::Highlight));
        painter.drawRoundedRect(badge, badge.height() / 2, badge.height() / 2);
        painter.setFont(font);
        painter.setPen(palette.color(QPalette::Active, QPalette::HighlightedText));
        painter.drawText(badge, Qt::AlignCenter, text);
    }
    return drag;
}

}  // namespace platform
