// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/WindowRaising.h"

#include <QGuiApplication>
#include <QWidget>

#include <xcb/xcb.h>
#include <algorithm>
#include <cstdlib>
#include <memory>

namespace platform {

namespace {

template <typename Reply>
using Answer = std::unique_ptr<Reply, decltype(&std::free)>;

/// The X server as one window sees it.
class XWindow {
 public:
    XWindow(xcb_connection_t* connection, xcb_window_t window) : _connection(connection), _window(window) {
        const Answer<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(_connection, xcb_get_geometry(_connection, _window), nullptr), &std::free);
        if (geometry != nullptr)
            _root = geometry->root;
    }

    /// _NET_ACTIVE_WINDOW of the Extended Window Manager Hints.
    void askForActivation(xcb_timestamp_t time) const {
        constexpr uint32_t fromApplication = 1;
        xcb_client_message_event_t event = message(atom("_NET_ACTIVE_WINDOW"), 32);
        event.data.data32[0] = fromApplication;
        event.data.data32[1] = time;
        send(event, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
    }

    /// Startup Notification protocol 0.2: a text in messages of 20 bytes, the last of which holds its NUL.
    void endStartup(const QByteArray& startupId) const {
        QByteArray id = startupId;
        id.replace('\\', "\\\\").replace('"', "\\\"");
        const QByteArray text = "remove: ID=\"" + id + '"' + '\0';
        const xcb_atom_t begin = atom("_NET_STARTUP_INFO_BEGIN");
        const xcb_atom_t more = atom("_NET_STARTUP_INFO");
        for (qsizetype sent = 0; sent < text.size(); sent += 20) {
            xcb_client_message_event_t event = message(sent == 0 ? begin : more, 8);
            std::ranges::copy(text.mid(sent, 20), reinterpret_cast<char*>(event.data.data8));
            send(event, XCB_EVENT_MASK_PROPERTY_CHANGE);
        }
    }

 private:
    /// Asks the X server and waits for it.
    xcb_atom_t atom(QByteArrayView name) const {
        const auto length = static_cast<uint16_t>(name.size());
        const Answer<xcb_intern_atom_reply_t> answer(
            xcb_intern_atom_reply(_connection, xcb_intern_atom(_connection, 0, length, name.data()), nullptr),
            &std::free);
        return answer != nullptr ? answer->atom : xcb_atom_t{XCB_ATOM_NONE};
    }
    xcb_client_message_event_t message(xcb_atom_t type, uint8_t format) const {
        xcb_client_message_event_t event = {};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = format;
        event.window = _window;
        event.type = type;
        return event;
    }
    void send(const xcb_client_message_event_t& event, uint32_t mask) const {
        xcb_send_event(_connection, 0, _root, mask, reinterpret_cast<const char*>(&event));
        xcb_flush(_connection);
    }

    xcb_connection_t* _connection;
    xcb_window_t _window;
    xcb_window_t _root = XCB_WINDOW_NONE;  ///< of the screen that it is on
};

/// When the user acted, by the X server's clock; now where the launcher does not say it.
xcb_timestamp_t timeOfStartup(const QByteArray& startupId) {
    const qsizetype mark = startupId.lastIndexOf("_TIME");
    return mark < 0 ? XCB_CURRENT_TIME : startupId.mid(mark + 5).toUInt();
}

}  // namespace

ActivationToken ActivationToken::ofThisStart() {
    return {qgetenv("DESKTOP_STARTUP_ID"), qgetenv("XDG_ACTIVATION_TOKEN")};
}

void bringToFront(QWidget& window, const ActivationToken& token) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    // Platforms with no screen may have the interface as well, and no connection.
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 != nullptr && QGuiApplication::platformName() == u"xcb") {
        const XWindow xWindow(x11->connection(), static_cast<xcb_window_t>(window.winId()));
        xWindow.askForActivation(timeOfStartup(token.startupId));
        if (!token.startupId.isEmpty())
            xWindow.endStartup(token.startupId);
        return;
    }
    // The toolkit's Wayland platform looks for it here, and nowhere else, when a window is to be activated.
    // That other threads may read the environment meanwhile is accepted.
    if (!token.token.isEmpty())
        qputenv("XDG_ACTIVATION_TOKEN", token.token);
    window.activateWindow();
}

}  // namespace platform
