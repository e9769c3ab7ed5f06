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

/// The windows that this program can open, by the names of their interface descriptions ("AboutWindow",
/// "PreferencesWindow"). A name that is not registered has no window here, and its commands are not offered.
/// Filled at start-up; main thread only.
class InterfaceDescriptions {
 public:
    using Factory =
        std::function<std::unique_ptr<WindowController>(const QString& windowNibName, QObject* sender)>;

    static InterfaceDescriptions& shared();

    void add(const QString& windowNibName, Factory factory) {
        _factories.insert(windowNibName, std::move(factory));
    }
    bool contains(const QString& windowNibName) const { return _factories.contains(windowNibName); }
    /// Null for an unknown name.
    std::unique_ptr<WindowController> open(const QString& windowNibName, QObject* sender) const;

 private:
    QHash<QString, Factory> _factories;
};

}  // namespace platform
