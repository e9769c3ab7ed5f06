// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/WindowController.h"

namespace platform {

InterfaceDescriptions& InterfaceDescriptions::shared() {
    static InterfaceDescriptions descriptions;
    return descriptions;
}

std::unique_ptr<WindowController> InterfaceDescriptions::open(const QString& windowNibName,
                                                              QObject* sender) const {
    const Factory factory = _factories.value(windowNibName);
    return factory ? factory(windowNibName, sender) : nullptr;
}

}  // namespace platform
