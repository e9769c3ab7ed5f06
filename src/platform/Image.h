// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIcon>
#include <QSizeF>
#include <QString>

#include <memory>

namespace platform {

/// An icon with a size of its own in points. Who holds one may resize it, for every holder; the Workspace
/// therefore answers a new object for each call. The picture itself is shared. Main thread only.
class Image {
 public:
    explicit Image(QIcon icon, QSizeF size = QSizeF(32, 32), QString name = {})
        : _icon(std::move(icon)), _size(size), _name(std::move(name)) {}

    const QIcon& icon() const { return _icon; }
    QSizeF size() const { return _size; }
    void setSize(QSizeF size) { _size = size; }
    const QString& name() const { return _name; }

    /// Equal pictures at equal sizes.
    bool operator==(const Image& other) const {
        return _icon.cacheKey() == other._icon.cacheKey() && _size == other._size;
    }

 private:
    QIcon _icon;
    QSizeF _size;
    QString _name;
};

using ImageRef = std::shared_ptr<Image>;

}  // namespace platform
