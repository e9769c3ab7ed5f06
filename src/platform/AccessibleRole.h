// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAccessible>
#include <QAccessibleWidget>

namespace platform {

/// Has every widget of the class announced by this role, where the toolkit knows nothing better of it than
/// that it holds other things. To be called before the first of them is shown; a second call does nothing.
template <typename Widget, QAccessible::Role role>
void announceAs() {
    [[maybe_unused]] static const bool isInstalled = [] {
        QAccessible::installFactory([](const QString& className, QObject* object) -> QAccessibleInterface* {
            auto* const widget = qobject_cast<Widget*>(object);
            const bool isMeant = className == QLatin1String(Widget::staticMetaObject.className());
            return isMeant && widget != nullptr ? new QAccessibleWidget(widget, role) : nullptr;
        });
        return true;
    }();
}

}  // namespace platform
