// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

class QAction;

namespace platform {

/// One command of the menus, as the validator sees it: a view of the shared action behind it.
class MenuItem {
 public:
    MenuItem(QAction* action, QString keyEquivalent)
        : _action(action), _keyEquivalent(std::move(keyEquivalent)) {}

    /// The bare key that Ctrl goes with (",", "i", "p"), or empty.
    const QString& keyEquivalent() const { return _keyEquivalent; }
    QAction* action() const { return _action; }

 private:
    QAction* _action;
    QString _keyEquivalent;
};

}  // namespace platform
