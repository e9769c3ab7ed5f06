// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/views/ImageBrowserView.h"

#include <QAccessibleInterface>
#include <QAccessibleWidget>
#include <QPointer>

#include <map>

namespace platform {

/// The grid for assistive tools: a list whose children are the visible cells, made when they are asked for
/// and let go of when they have left the viewport; nothing is made per file. Main thread only.
class GridAccessible : public QAccessibleWidget {
 public:
    explicit GridAccessible(ImageBrowserView& view);
    ~GridAccessible() override;

    /// Has the toolkit make this for every grid from now on; further calls do nothing.
    static void install();
    /// The item at the index in a grid's children now; -1 when it is not visible.
    static int childIndexOf(const ImageBrowserView& view, std::size_t index);

    int childCount() const override;
    QAccessibleInterface* child(int index) const override;
    QAccessibleInterface* childAt(int x, int y) const override;
    QAccessibleInterface* focusChild() const override;
    int indexOfChild(const QAccessibleInterface* child) const override;
    QAccessible::State state() const override;

 private:
    ImageBrowserView* view() const;
    void forgetHidden() const;

    mutable std::map<std::size_t, QAccessible::Id> _cells;
};

/// One visible cell. It looks its item up by index at each question, and is invalid once the list is shorter.
class GridCellAccessible : public QAccessibleInterface, public QAccessibleActionInterface {
 public:
    GridCellAccessible(ImageBrowserView& view, std::size_t index) : _view(&view), _index(index) {}

    std::size_t index() const { return _index; }

    bool isValid() const override;
    QObject* object() const override { return nullptr; }
    QWindow* window() const override;
    QAccessibleInterface* parent() const override;
    QAccessibleInterface* child(int /*index*/) const override { return nullptr; }
    QAccessibleInterface* childAt(int /*x*/, int /*y*/) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface* /*child*/) const override { return -1; }
    QString text(QAccessible::Text kind) const override;
    void setText(QAccessible::Text /*kind*/, const QString& /*text*/) override {}
    QRect rect() const override;
    QAccessible::Role role() const override { return QAccessible::ListItem; }
    QAccessible::State state() const override;
    void* interface_cast(QAccessible::InterfaceType type) override;

    QStringList actionNames() const override;
    void doAction(const QString& name) override;
    QStringList keyBindingsForAction(const QString& /*name*/) const override { return {}; }

 private:
    QPointer<ImageBrowserView> _view;
    std::size_t _index;
};

}  // namespace platform
