// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ImageWindowOpener.h"

#include "app/Texts.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include <utility>

ImageWindowOpener::ImageWindowOpener(QObject* parent) : QObject(parent), _turn(new QTimer(this)) {
    connect(_turn, &QTimer::timeout, this, &ImageWindowOpener::openNext);
}

void ImageWindowOpener::open(const QString& nibName, QObject& sender, const QString& path) {
    if (_question != nullptr) {
        // The question is of those that wait, not of this.
        openNow({nibName, &sender, path});
        return;
    }
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
    if (_waiting.empty())
        stop();
    openNow(request);
    if (!_waiting.empty() && ++_openedUnasked == mostUnasked)
        ask();
}

/// Escape is the question's own meanwhile.
void ImageWindowOpener::ask() {
    stop();
    const QLocale locale;
    _question = new QMessageBox(
        QMessageBox::Question, QGuiApplication::applicationDisplayName(),
        text("OpenManyQuestion")
            .arg(locale.toString(mostUnasked), locale.toString(static_cast<qulonglong>(_waiting.size()))),
        QMessageBox::Cancel, QApplication::activeWindow());
    _question->setInformativeText(text("OpenManyHint"));
    _question->setAttribute(Qt::WA_DeleteOnClose);
    _question->setDefaultButton(QMessageBox::Cancel);
    const auto* goOn = _question->addButton(text("OpenManyGoOn"), QMessageBox::AcceptRole);
    connect(_question, &QMessageBox::finished, this, [this, goOn] {
        // It lives on until it is deleted; what is asked for meanwhile is not to wait for its answer.
        const bool goesOn = std::exchange(_question, nullptr)->clickedButton() == goOn;
        if (goesOn)
            start();
        else
            _waiting.clear();
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
    const bool isKey = event->type() == QEvent::KeyPress || event->type() == QEvent::ShortcutOverride;
    if (!isKey || static_cast<QKeyEvent*>(event)->key() != Qt::Key_Escape)
        return QObject::eventFilter(watched, event);
    _waiting.clear();
    stop();
    event->accept();
    return true;
}
