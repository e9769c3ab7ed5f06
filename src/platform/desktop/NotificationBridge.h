// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace platform {

/// Hands messages to the desktop's notification service. Nothing here ever waits for the service. Main thread
/// only.
class NotificationBridge {
 public:
    virtual ~NotificationBridge() = default;

    virtual bool isGrowlInstalled() const = 0;
    virtual bool isGrowlRunning() const = 0;
    virtual void notify(const QString& title, const QString& description, const QString& notificationName,
                        const std::optional<QByteArray>& iconData, int priority, bool isSticky,
                        const QString& clickContext) = 0;
};

}  // namespace platform
