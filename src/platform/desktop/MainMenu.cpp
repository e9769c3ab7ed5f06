// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/MainMenu.h"

#include "platform/Guard.h"

#include <QAction>
#include <QLayout>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

#include <algorithm>

namespace platform {

MainMenu::MainMenu(QObject* parent) : QObject(parent) {
}

MainMenu::~MainMenu() = default;

void MainMenu::setValidator(Validator validator) {
    _validator = std::move(validator);
}

void MainMenu::addMenu(const QString& name, const QString& title) {
    auto menu = std::make_unique<QMenu>(title);
    menu->setObjectName(name);
    connect(menu.get(), &QMenu::aboutToShow, this, [this, shown = menu.get()] { validateMenu(*shown); });
    _menus.push_back(std::move(menu));
}

QAction* MainMenu::addCommand(const MenuCommand& command) {
    auto* action = new QAction(command.text, this);
    action->setObjectName(command.name);
    QList<QKeySequence> shortcuts;
    if (!command.keyEquivalent.isEmpty())
        shortcuts += QKeySequence(QStringLiteral("Ctrl+") + command.keyEquivalent);
    action->setShortcuts(shortcuts + command.shortcuts);
    connect(action, &QAction::triggered, this,
            [run = command.action] { guarded("a command of the menus", run); });
    _menus.back()->addAction(action);
    _entries.push_back({MenuItem(action, command.keyEquivalent), command.hasTarget});
    return action;
}

void MainMenu::addSeparator() {
    _menus.back()->addSeparator();
}

void MainMenu::addSubmenu(const QString& name, const QString& text, const std::function<bool()>& hasTarget,
                          const std::function<void(QMenu&)>& fill) {
    auto menu = std::make_unique<QMenu>(text);
    menu->menuAction()->setObjectName(name);
    connect(menu.get(), &QMenu::aboutToShow, this, [shown = menu.get(), fill] {
        shown->clear();
        guarded("filling a menu", [&] { fill(*shown); });
    });
    _menus.back()->addMenu(menu.get());
    _entries.push_back({MenuItem(menu->menuAction(), {}), hasTarget});
    _submenus.push_back(std::move(menu));
}

std::vector<MainMenu::Entry>::const_iterator MainMenu::find(const QString& name) const {
    return std::ranges::find_if(_entries,
                                [&](const Entry& e) { return e.item.action()->objectName() == name; });
}

QAction* MainMenu::action(const QString& name) const {
    const auto found = find(name);
    return found == _entries.end() ? nullptr : found->item.action();
}

void MainMenu::attachTo(QWidget& window) const {
    if (window.findChild<QMenuBar*>(QString(), Qt::FindDirectChildrenOnly) != nullptr)
        return;
    auto* mainWindow = qobject_cast<QMainWindow*>(&window);
    if (mainWindow == nullptr && window.layout() == nullptr)
        return;
    auto* bar = new QMenuBar(&window);
    for (const auto& menu : _menus)
        bar->addMenu(menu.get());
    for (const Entry& entry : _entries)
        window.addAction(entry.item.action());
    if (mainWindow != nullptr)
        mainWindow->setMenuBar(bar);
    else
        window.layout()->setMenuBar(bar);
}

void MainMenu::validate() {
    for (const Entry& entry : _entries)
        validateEntry(entry);
}

void MainMenu::validate(const QString& name) const {
    if (const auto found = find(name); found != _entries.end())
        validateEntry(*found);
}

void MainMenu::validateMenu(const QMenu& menu) const {
    const QList<QAction*> shown = menu.actions();
    for (const Entry& entry : _entries)
        if (shown.contains(entry.item.action()))
            validateEntry(entry);
}

void MainMenu::validateEntry(const Entry& entry) const {
    const bool hasTarget = !entry.hasTarget || guarded("a menu's target", false, entry.hasTarget);
    entry.item.action()->setEnabled(hasTarget && (!_validator || guarded("validateMenuItem", false, [&] {
                                        return _validator(entry.item);
                                    })));
}

}  // namespace platform
