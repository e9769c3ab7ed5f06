// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

class QWidget;

namespace platform {

/// The user's leave to come to the front, which a launcher gives to what it starts: a value. Either is empty
/// where the launcher gives none.
struct ActivationToken {
    QByteArray
        startupId;     ///< of the Startup Notification protocol, for X11; ends in "_TIME" and a time stamp
    QByteArray token;  ///< of xdg-activation, for Wayland

    /// What this process was started with. To be asked before the toolkit takes it out of the environment.
    static ActivationToken ofThisStart();
};

/// Shows a window, brings it to the front and gives it the keyboard, as far as the window manager agrees; it
/// may ask for a token, lest programs steal the keyboard. Ends the launcher's sign of being busy. Main
/// thread only.
void bringToFront(QWidget& window, const ActivationToken& token);

}  // namespace platform
