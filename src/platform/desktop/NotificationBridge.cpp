// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/NotificationBridge.h"

#include "platform/Guard.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QImage>
#include <QLoggingCategory>

#include <algorithm>

Q_LOGGING_CATEGORY(notificationLog, "tavlin.notifications", QtWarningMsg)

namespace platform {

/// The pixels of a notification's picture, as the hint "image-data" lays them out: (iiibiiay).
struct NotificationPicture {
    QImage image;  ///< Format_RGBA8888
};

QDBusArgument& operator<<(QDBusArgument& argument, const NotificationPicture& picture) {
    const QImage& image = picture.image;
    argument.beginStructure();
    argument << image.width() << image.height() << static_cast<int>(image.bytesPerLine()) << true << 8 << 4
             << QByteArray(reinterpret_cast<const char*>(image.constBits()), image.sizeInBytes());
    argument.endStructure();
    return argument;
}

/// Nobody sends one to this program.
const QDBusArgument& operator>>(const QDBusArgument& argument, NotificationPicture& /*picture*/) {
    return argument;
}

}  // namespace platform

Q_DECLARE_METATYPE(platform::NotificationPicture)

namespace platform {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString busService = QStringLiteral("org.freedesktop.DBus");

constexpr uint expired = 1;  ///< the reason of a notification's end
constexpr int largestIcon = 128;
/// A service that never says that a notification has gone must not make the program grow.
constexpr qsizetype mostContexts = 256;

/// Calls back with a finished call, unless its asker has gone by then.
template <typename Function>
void whenFinished(QObject* asker, const QDBusPendingCall& call, Function function) {
    auto* watcher = new QDBusPendingCallWatcher(call, asker);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, asker, [watcher, function] {
        watcher->deleteLater();
        guarded("an answer about notifications", [&] { function(*watcher); });
    });
}

}  // namespace

NotificationBridge::NotificationBridge(QObject* parent) : QObject(parent) {
}

NotificationBridge::~NotificationBridge() = default;

void NotificationBridge::connectToService() {
    if (_bus)
        return;
    _bus = QDBusConnection::sessionBus();
    if (!_bus->isConnected()) {
        qCInfo(notificationLog, "no session bus: %s", qUtf8Printable(_bus->lastError().message()));
        return;
    }
    // No sender is given to connect(), which would ask the bus for it and wait.
    _bus->connect({}, path, service, QStringLiteral("ActionInvoked"), this,
                  SLOT(actionInvoked(uint, QString, QDBusMessage)));
    _bus->connect({}, path, service, QStringLiteral("NotificationClosed"), this,
                  SLOT(notificationClosed(uint, uint, QDBusMessage)));
    auto* watcher = new QDBusServiceWatcher(
        service, *_bus,
        QDBusServiceWatcher::WatchForRegistration | QDBusServiceWatcher::WatchForUnregistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &NotificationBridge::serviceIsThere);
    connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, &NotificationBridge::serviceHasGone);

    whenFinished(this, askBus(QStringLiteral("NameHasOwner"), {service}), [this](const auto& call) {
        if (QDBusPendingReply<bool>(call).value())
            serviceIsThere();
    });
    whenFinished(this, askBus(QStringLiteral("ListActivatableNames"), {}), [this](const auto& call) {
        if (QDBusPendingReply<QStringList>(call).value().contains(service))
            serviceIsThere();
    });
}

QDBusPendingCall NotificationBridge::askBus(const QString& method, const QVariantList& arguments) const {
    QDBusMessage message = QDBusMessage::createMethodCall(busService, QStringLiteral("/org/freedesktop/DBus"),
                                                          busService, method);
    message.setArguments(arguments);
    return _bus->asyncCall(message, _patience);
}

void NotificationBridge::serviceIsThere() {
    if (_isRegistered || _delegate == nullptr)
        return;
    guarded("registering for notifications", [this] {
        _names = _delegate->registrationDictionaryForGrowl()
                     .value(QStringLiteral("AllNotifications"))
                     .toStringList();
        _applicationName = _delegate->applicationNameForGrowl();
        _applicationIcon = _delegate->applicationIconDataForGrowl();
        _isRegistered = true;
        _delegate->growlIsReady();
    });
}

void NotificationBridge::serviceHasGone() {
    _owner.clear();
    _contexts.clear();
}

void NotificationBridge::notifyWithTitle(const QString& title, const QString& description,
                                         const QString& notificationName,
                                         const std::optional<QByteArray>& iconData, int priority,
                                         bool isSticky, const QString& clickContext) {
    if (!_names.contains(notificationName) || !_bus || !_bus->isConnected()) {
        qCWarning(notificationLog, "no notification service for \"%s\"", qUtf8Printable(notificationName));
        return;
    }
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, service, QStringLiteral("Notify"));
    constexpr uint replacesNone = 0;
    const int expiry = isSticky ? 0 : -1;
    // The action of this name is what a click on the notification itself means; its text is not shown.
    const QStringList actions{QStringLiteral("default"), title};
    message << _applicationName << replacesNone << QStringLiteral(TAVLIN_APPLICATION_ID) << title
            << description.toHtmlEscaped() << actions << hints(iconData, priority) << expiry;
    whenFinished(this, _bus->asyncCall(message, _patience), [this, clickContext](const auto& call) {
        const QDBusPendingReply<uint> reply = call;
        if (reply.isError()) {
            qCWarning(notificationLog, "not notified: %s", qUtf8Printable(reply.error().message()));
            return;
        }
        _owner = reply.reply().service();
        if (_contexts.size() >= mostContexts)
            _contexts.clear();
        _contexts.insert(reply.value(), clickContext);
    });
}

QVariantMap NotificationBridge::hints(const std::optional<QByteArray>& iconData, int priority) const {
    QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral(TAVLIN_APPLICATION_ID)}};
    const int urgency = priority < 0 ? 0 : priority > 1 ? 2 : 1;  // low, normal, critical
    hints.insert(QStringLiteral("urgency"), QVariant::fromValue(static_cast<uchar>(urgency)));
    const auto& icon = iconData ? iconData : _applicationIcon;
    QImage image = icon ? QImage::fromData(*icon) : QImage();
    if (!image.isNull()) {
        if (std::max(image.width(), image.height()) > largestIcon)
            image = image.scaled(largestIcon, largestIcon, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        qDBusRegisterMetaType<NotificationPicture>();
        hints.insert(
            QStringLiteral("image-data"),
            QVariant::fromValue(NotificationPicture{image.convertToFormat(QImage::Format_RGBA8888)}));
    }
    return hints;
}

/// The context of a notification of ours; anybody on the bus may send such signals, and other programs have
/// notifications as well.
std::optional<QString> NotificationBridge::takeContext(uint id, const QDBusMessage& message) {
    if (message.service() != _owner || !_contexts.contains(id))
        return std::nullopt;
    return _contexts.take(id);
}

void NotificationBridge::actionInvoked(uint id, const QString& /*action*/, const QDBusMessage& message) {
    const auto context = takeContext(id, message);
    if (context && _delegate != nullptr)
        guarded("growlNotificationWasClicked", [&] { _delegate->growlNotificationWasClicked(*context); });
}

void NotificationBridge::notificationClosed(uint id, uint reason, const QDBusMessage& message) {
    const auto context = takeContext(id, message);
    if (context && reason == expired && _delegate != nullptr)
        guarded("growlNotificationTimedOut", [&] { _delegate->growlNotificationTimedOut(*context); });
}

}  // namespace platform
