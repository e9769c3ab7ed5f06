// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/desktop/MenuItem.h"

#include <QKeySequence>
#include <QList>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

class QAction;
class QMenu;
class QMenuBar;
class QWidget;

namespace platform {

/// What a command of the menus is made of.
struct MenuCommand {
    QString name;                   ///< the action's object name, the same in every language
    QString text;                   ///< with its mnemonic ("&Quit")
    QString keyEquivalent;          ///< what the validator is asked with; Ctrl+ this key is the shortcut
    QList<QKeySequence> shortcuts;  ///< further shortcuts, or those of a command without a key equivalent
    std::function<void()> action;
    std::function<bool()> hasTarget;  ///< absent: always; a command without a target is disabled unasked
};

/// The menus: one shared action for each command, shown by a menu bar in every window. An action is enabled
/// when it has a target and the validator agrees; both are asked before a menu shows and at validate(). Main
/// thread only; outlives the windows it is attached to or is destroyed with them, in either order.
class MainMenu : public QObject {
    Q_OBJECT

 public:
    using Validator = std::function<bool(const MenuItem&)>;

    explicit MainMenu(QObject* parent = nullptr);
    ~MainMenu() override;

    void setValidator(Validator validator);

    /// Starts a menu; what is added afterwards stands in it.
    void addMenu(const QString& name, const QString& title);
    /// Adds a command to the last menu. The action belongs to the menus.
    QAction* addCommand(const MenuCommand& command);
    void addSeparator();
    /// Adds a submenu to the last menu; `fill` is given it, emptied, each time it is about to show. Its
    /// action is that of a command.
    void addSubmenu(const QString& name, const QString& text, const std::function<bool()>& hasTarget,
                    const std::function<void(QMenu&)>& fill);

    /// The action of a command; null for an unknown name.
    QAction* action(const QString& name) const;

    /// Gives a window a menu bar, and the commands' shortcuts even while that is hidden, unless it has one or
    /// has no place for it (neither a QMainWindow nor a widget with a layout).
    void attachTo(QWidget& window) const;

    /// Asks about every command anew, or about one.
    void validate();
    void validate(const QString& name) const;

 private:
    struct Entry {
        MenuItem item;
        std::function<bool()> hasTarget;
    };
    std::vector<Entry>::const_iterator find(const QString& name) const;
    void validateEntry(const Entry& entry) const;
    void validateMenu(const QMenu& menu) const;

    std::vector<std::unique_ptr<QMenu>> _menus;
    std::vector<std::unique_ptr<QMenu>> _submenus;
    std::vector<Entry> _entries;
    Validator _validator;
};

}  // namespace platform
