// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <optional>

class QDBusMessage;
class QDBusPendingCall;

namespace platform {

/// What the bridge asks of the program, and tells it.
class NotificationBridgeDelegate {
 public:
    /// The names of the notifications that will be sent, a list under the key "AllNotifications".
    virtual QVariantMap registrationDictionaryForGrowl() = 0;
    virtual QString applicationNameForGrowl() = 0;
    /// A picture file's bytes; nothing for the program's own icon.
    virtual std::optional<QByteArray> applicationIconDataForGrowl() = 0;
    virtual void growlIsReady() = 0;
    virtual void growlNotificationWasClicked(const QString& clickContext) = 0;
    virtual void growlNotificationTimedOut(const QString& clickContext) = 0;

 protected:
    ~NotificationBridgeDelegate() = default;
};

/// Hands messages to the desktop's notification service (org.freedesktop.Notifications on the session bus;
/// source: the Desktop Notifications Specification 1.2). Nothing here ever waits for the service: what it
/// answers arrives as an event, and a service that is missing, hangs or dies costs a line in the log.
/// Main thread only.
class NotificationBridge : public QObject {
    Q_OBJECT

 public:
    explicit NotificationBridge(QObject* parent = nullptr);
    ~NotificationBridge() override;

    /// Borrowed; null for none.
    void setGrowlDelegate(NotificationBridgeDelegate* delegate) { _delegate = delegate; }
    /// Asks the bus for the service. Until it has answered the service counts as not installed; the delegate
    /// is told once it is there, be it at once or much later. Without a bus nothing happens.
    void connectToService();

    /// Whether the service runs or the bus can start it, as far as is known.
    bool isGrowlInstalled() const { return _isRegistered; }
    /// The same: a service that is started on demand counts as running.
    bool isGrowlRunning() const { return _isRegistered; }

    /// Sends one notification, unless its name was never registered. `iconData` is the bytes of a picture
    /// file of the program's own, as this process decodes it; `priority` from -2 to 2; a sticky notification
    /// stays until the user dismisses it. `clickContext` comes back to the delegate when the user clicks the
    /// notification or lets it expire.
    void notifyWithTitle(const QString& title, const QString& description, const QString& notificationName,
                         const std::optional<QByteArray>& iconData, int priority, bool isSticky,
                         const QString& clickContext);

    /// How long the service may take for an answer that is still listened to, for tests.
    void setPatience(int milliseconds) { _patience = milliseconds; }

 private Q_SLOTS:
    void actionInvoked(uint id, const QString& action, const QDBusMessage& message);
    void notificationClosed(uint id, uint reason, const QDBusMessage& message);

 private:
    QDBusPendingCall askBus(const QString& method, const QVariantList& arguments) const;
    void serviceIsThere();
    void serviceHasGone();
    std::optional<QString> takeContext(uint id, const QDBusMessage& message);
    QVariantMap hints(const std::optional<QByteArray>& iconData, int priority) const;

    NotificationBridgeDelegate* _delegate = nullptr;
    std::optional<QDBusConnection> _bus;
    bool _isRegistered = false;
    QString _applicationName;
    std::optional<QByteArray> _applicationIcon;
    QStringList _names;              ///< registered ones
    QString _owner;                  ///< the service's own name on the bus, once it has answered
    QHash<uint, QString> _contexts;  ///< by the service's number of a notification that is still shown
    int _patience = 3000;
};

}  // namespace platform
