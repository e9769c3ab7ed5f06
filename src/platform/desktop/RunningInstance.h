// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/desktop/WindowRaising.h"

#include <QObject>
#include <QStringList>

#include <memory>

struct _GDBusConnection;
struct _GDBusMethodInvocation;
struct _GVariant;

namespace platform {

/// What one start asks of the program: a value.
struct StartRequest {
    QStringList paths;  ///< absolute; none: the window alone
    ActivationToken activation;
};

/// The one running program of a session: the first takes the name org.tavlin.Tavlin on the session's bus, and
/// every later start hands it its request and ends. It is an application as the Desktop Entry Specification
/// has it for D-Bus activation (interface org.freedesktop.Application), so that launchers may ask it
/// directly. Paths travel as file URIs, byte for byte. Without a bus every start runs on its own, and so does
/// one that finds a running program that has not answered for five seconds. Main thread only.
class RunningInstance : public QObject {
    Q_OBJECT

 public:
    /// What became of a start.
    struct Outcome {
        std::unique_ptr<RunningInstance> instance;  ///< null: another program runs, and this start is to end
        QStringList missing;  ///< what was not handed over to that one, as nothing is there
    };

    /// Hands the request to the program that runs already, unless nothing is at any of its paths; a place
    /// that does not answer in time may well hold what is named. Without such a program this is the running
    /// one from now on, whatever the paths. Needs no application object.
    static Outcome become(const StartRequest& request);

    ~RunningInstance() override;

    /// Takes no more requests: a start that comes now waits for this program's end, and runs then.
    void retire();

 Q_SIGNALS:
    /// Another start, or a launcher, asks for the window and for what it is to open.
    void asked(const platform::StartRequest& request);

 private:
    using Bus = std::shared_ptr<_GDBusConnection>;

    RunningInstance() = default;
    void serve(const Bus& bus);
    void answer(const char* method, _GVariant* parameters, _GDBusMethodInvocation* invocation);

    Bus _bus;
    unsigned _registration = 0;
};

}  // namespace platform
