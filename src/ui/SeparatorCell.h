// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/views/TextFieldCell.h"

#include <QRectF>

#include <memory>

/// A cell that draws a rule of two lines in the middle of its row, and no text. Main thread only.
class SeparatorCell : public platform::TextFieldCell {
 public:
    /// The two lines within a cell's frame, each one point high.
    struct Lines {
        QRectF upper;  ///< translucent blue
        QRectF lower;  ///< nearly white

        static Lines forFrame(QRectF frame);
    };

    void drawWithFrameInView(QRectF frame, QPainter& painter, const platform::CellContext& context) override;
    /// Nothing: there is no text to select.
    void selectWithFrameInViewEditorStartLength(QRectF frame, QLineEdit& editor, int start,
                                                int length) override;
    std::unique_ptr<TextFieldCell> copy() const override;
};
