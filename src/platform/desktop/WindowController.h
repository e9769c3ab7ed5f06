// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class QWidget;

namespace platform {

/// Builds, fills and shows one window made from an interface description, in its constructor, and answers the
/// window's controls. Main thread only.
class WindowController : public QObject {
    Q_OBJECT

 public:
    using QObject::QObject;
    ~WindowController() override = default;

    virtual QWidget* window() const = 0;

 Q_SIGNALS:
    /// The window is about to close; who holds the controller lets go of it by deleteLater().
    void windowWillClose();
};

/// What a window is opened with: a value.
struct WindowRequest {
    QString windowNibName;      ///< the interface description's name: "AboutWindow", "ImageWindow" ...
    QObject* sender = nullptr;  ///< the opening object, borrowed
    QString imagePath;          ///< for an image window
    const QWidget* inPlaceOf = nullptr;  ///< an image window whose place and size the new one takes
};

/// The windows that this program can open, by the names of their interface descriptions. A name that is not
/// registered has no window here, and its commands are not offered. Filled at start-up; main thread only.
class InterfaceDescriptions {
 public:
    using Factory = std::function<std::unique_ptr<WindowController>(const WindowRequest& request)>;

    static InterfaceDescriptions& shared();

    void add(const QString& windowNibName, const Factory& factory);
    bool contains(const QString& windowNibName) const { return _factories.contains(windowNibName); }
    /// Builds and shows the window; null for an unknown name.
    std::unique_ptr<WindowController> open(const WindowRequest& request) const;

 private:
    QHash<QString, Factory> _factories;
};

}  // namespace platform
