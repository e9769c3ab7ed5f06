// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/printing/PrintInfo.h"

#include <QWidget>

class QPainter;

namespace platform {

/// Prints a view onto one page within the margins. A PrintPage is laid out for the page first; any other view
/// is printed as it is, a point of the screen being a point of the page. What is larger than the page is
/// scaled down or cut, as the pagination says. Main thread only.
class PrintOperation {
 public:
    PrintOperation(QWidget& view, PrintInfo& info) : _view(view), _info(info) {}

    /// Blocks until the job is spooled or the file written; answers whether that went well.
    bool run();

 private:
    bool printFile();
    bool printTo(QPrinter& printer);
    void paint(QPainter& painter, int resolution);

    QWidget& _view;
    PrintInfo& _info;
};

}  // namespace platform
