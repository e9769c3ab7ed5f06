// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/printing/ColumnText.h"

#include <QRectF>
#include <QSizeF>

namespace platform {

/// Where a page's picture and its text stand, in the units of the page.
///
/// The text stands below the picture, or beside it where that leaves the picture larger. A long text first
/// wraps, then takes more columns, then the space that the picture's shape leaves free and up to three fifths
/// of the page; only then it is set smaller, so that all of it is on the page.
struct PageArrangement {
    QRectF picture;
    QRectF text;
    ColumnText::Setting setting;

    /// `picture`: its size when it is not scaled, which it is only down; empty for a page whose picture is
    /// missing, which keeps the room for one.
    static PageArrangement forPage(const QSizeF& page, const QSizeF& picture, const ColumnText& text);
};

}  // namespace platform
