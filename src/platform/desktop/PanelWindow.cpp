// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/PanelWindow.h"

#include "platform/AccessibleRole.h"
#include "platform/Guard.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLayout>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>

namespace platform {

PanelWindow::PanelWindow() {
    announceAs<PanelWindow, QAccessible::Dialog>();
    connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, this, &QWidget::close);
}

void PanelWindow::fitToContentOf(const QScrollArea& area) {
    ensurePolished();  // gives it the menu bar, which counts
    const QSize whole = layout()->totalSizeHint() - area.sizeHint() + area.widget()->sizeHint();
    const QSize most = screen()->availableSize() * 9 / 10;
    const int scrollBar = whole.height() > most.height() ? area.verticalScrollBar()->sizeHint().width() : 0;
    resize((whole + QSize(scrollBar, 0)).boundedTo(most));
}

void PanelWindow::makeKeyAndOrderFront() {
    // Some styles leave a long text no room before its button's edges.
    for (QPushButton* button : findChildren<QPushButton*>())
        button->setMinimumWidth(button->sizeHint().width() + button->fontMetrics().height());
    if (const QWidget* front = QApplication::activeWindow(); front != nullptr && front != this) {
        QRect place(QPoint(), size());
        place.moveCenter(front->frameGeometry().center());
        move(place.topLeft());
    }
    show();
    raise();
    activateWindow();
}

void PanelWindow::closeEvent(QCloseEvent* event) {
    guarded("windowWillClose", [this] { Q_EMIT aboutToClose(); });
    event->accept();
}

}  // namespace platform
