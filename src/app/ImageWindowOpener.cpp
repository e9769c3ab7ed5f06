// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ImageWindowOpener.h"

#include "app/Texts.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <algorithm>
#include <iterator>
#include <utility>

ImageWindowOpener::ImageWindowOpener(QObject* parent) : QObject(parent), _turn(new QTimer(this)) {
    connect(_turn, &QTimer::timeout, this, &ImageWindowOpener::openNext);
}

void ImageWindowOpener::open(const QString& nibName, QObject& sender, const QString& path) {
    _waiting.push_back({nibName, &sender, path});
    if (_turn->isActive())
        return;
    _openedUnasked = 0;
    start();
}

void ImageWindowOpener::start() {
    _turn->start();
    QCoreApplication::instance()->installEventFilter(this);
}

void ImageWindowOpener::openNext() {
    const platform::WindowRequest request = _waiting.front();
    _waiting.pop_front();
    if (_waiting.empty()) {
        stop();
        _mayOpenAll = false;
    }
    openNow(request);
    if (!_waiting.empty() && ++_openedUnasked >= mostUnasked && !_mayOpenAll && _question == nullptr)
        ask();
}

/// The question is of those that wait now, not of what is asked for meanwhile.
void ImageWindowOpener::ask() {
    stop();
    _held = std::exchange(_waiting, {});
    const QLocale locale;
    _question = new QMessageBox(
        QMessageBox::Question, QGuiApplication::applicationDisplayName(),
        text("OpenManyQuestion")
            .arg(locale.toString(mostUnasked), locale.toString(static_cast<qulonglong>(_held.size()))),
        QMessageBox::Cancel, QApplication::activeWindow());
    _question->setInformativeText(text("OpenManyHint"));
    _question->setAttribute(Qt::WA_DeleteOnClose);
    _question->setDefaultButton(QMessageBox::Cancel);
    const auto* goOn = _question->addButton(text("OpenManyGoOn"), QMessageBox::AcceptRole);
    connect(_question, &QMessageBox::finished, this, [this, goOn] {
        const bool goesOn = std::exchange(_question, nullptr)->clickedButton() == goOn;
        if (goesOn && !_held.empty()) {
            std::move(_held.begin(), _held.end(), std::back_inserter(_waiting));
            _mayOpenAll = true;
            start();
        }
        _held.clear();
    });
    _question->setWindowModality(Qt::ApplicationModal);
    _question->show();
}

bool ImageWindowOpener::openNow(const platform::WindowRequest& request) {
    auto made = platform::InterfaceDescriptions::shared().open(request);
    if (made == nullptr)
        return false;
    platform::WindowController* controller = made.release();
    controller->setParent(this);
    connect(controller, &platform::WindowController::windowWillClose, controller, &QObject::deleteLater);
    if (QWidget* window = controller->window())
        Q_EMIT opened(*window);
    return true;
}

void ImageWindowOpener::openInPlaceOf(QWidget& window, const platform::WindowRequest& request) {
    platform::WindowRequest placed = request;
    placed.inPlaceOf = &window;
    if (openNow(placed))
        window.close();
}

void ImageWindowOpener::stop() {
    _turn->stop();
    QCoreApplication::instance()->removeEventFilter(this);
}

/// Escape arrives as a shortcut first, and would close the window in front.
bool ImageWindowOpener::eventFilter(QObject* watched, QEvent* event) {
    if (_question != nullptr)
        return false;  // Escape is its own
    const bool isKey = event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride;
    if (!isKey || static_cast<QKeyEvent*>(event)->key() != Qt::Key_Escape)
        return QObject::eventFilter(watched, event);
    _waiting.clear();
    _mayOpenAll = false;
    stop();
    event->accept();
    return true;
}
