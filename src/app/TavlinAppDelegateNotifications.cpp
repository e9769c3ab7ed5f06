// SPDX-License-Identifier: GPL-3.0-or-later
// What the user is told by the desktop's notifications.
#include "app/TavlinAppDelegate.h"
#include "platform/desktop/UserDefaults.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/Logging.h"

namespace {

/// Every notification goes by this name.
const QString notificationName = QStringLiteral("GrowlNotificationNameKey");

}  // namespace

void TavlinAppDelegate::notifyUsingGrowl(const QString& message) {
    static constexpr auto method = "-[TavlinAppDelegate notifyUsingGrowl:]";
    logWithMethodName(method, 467, u"Start: message: %@", message);
    logWithMethodName(method, 469, u"appGlobals: %@", [] { return appGlobals->description(); });
    const QVariant isReady = appGlobals->objectForKey(PreferenceKeys::growlIsReady);
    if (notificationBridge != nullptr && platform::boolReading(isReady)) {
        logWithMethodName(method, 482, u"Growl is up and running -> sending notification.");
        notificationBridge->notifyWithTitle(QStringLiteral("Tavlin"), message, notificationName, std::nullopt,
                                            0, false, QStringLiteral("egal, eggad!"));
    } else {
        logWithMethodName(method, 493, u"Growl is not available?");
    }
    logWithMethodName(method, 496, u"Ente");
}

QVariantMap TavlinAppDelegate::registrationDictionaryForGrowl() {
    static constexpr auto method = "-[TavlinAppDelegate registrationDictionaryForGrowl]";
    logWithMethodName(method, 394, u"Ping");
    const QStringList notificationNames{notificationName};
    logWithMethodName(method, 398, u"notificationNames: %@", notificationNames);
    QVariantMap regDict{{QStringLiteral("AllNotifications"), notificationNames}};
    logWithMethodName(method, 402, u"regDict: %@", regDict);
    return regDict;
}

QString TavlinAppDelegate::applicationNameForGrowl() {
    logWithMethodName("-[TavlinAppDelegate applicationNameForGrowl]", 414, u"Ping");
    return QStringLiteral("Tavlin");
}

std::optional<QByteArray> TavlinAppDelegate::applicationIconDataForGrowl() {
    logWithMethodName("-[TavlinAppDelegate applicationIconDataForGrowl]", 423, u"Ping");
    return std::nullopt;
}

void TavlinAppDelegate::growlIsReady() {
    logWithMethodName("-[TavlinAppDelegate growlIsReady]", 432, u"REEEEEEEEEEEEADY!");
    appGlobals->setObjectForKey(true, PreferenceKeys::growlIsReady);
}

void TavlinAppDelegate::growlNotificationWasClicked(const QString& /*clickContext*/) {
    logWithMethodName("-[TavlinAppDelegate growlNotificationWasClicked:]", 444,
                      u"Hui! Soll ich jetzt in den Foreground?");
}

void TavlinAppDelegate::growlNotificationTimedOut(const QString& /*clickContext*/) {
    logWithMethodName("-[TavlinAppDelegate growlNotificationTimedOut:]", 454, u"Is the user AFK?");
}
