// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/WindowController.h"

namespace platform {

InterfaceDescriptions& InterfaceDescriptions::shared() {
    static InterfaceDescriptions descriptions;
    return descriptions;
}

void InterfaceDescriptions::add(const QString& windowNibName, const Factory& factory) {
    _factories.insert(windowNibName, factory);
}

std::unique_ptr<WindowController> InterfaceDescriptions::open(const WindowRequest& request) const {
    const Factory factory = _factories.value(request.windowNibName);
    return factory ? factory(request) : nullptr;
}

}  // namespace platform
