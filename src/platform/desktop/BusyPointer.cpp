// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/BusyPointer.h"

#include <QCursor>
#include <QGuiApplication>

namespace platform {

BusyPointer::BusyPointer() {
    if (qGuiApp != nullptr)
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
}

BusyPointer::~BusyPointer() {
    if (qGuiApp != nullptr)
        QGuiApplication::restoreOverrideCursor();
}

}  // namespace platform
