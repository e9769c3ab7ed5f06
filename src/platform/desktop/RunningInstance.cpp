// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/RunningInstance.h"

#include "platform/FolderReader.h"
#include "platform/PathBytes.h"

#include <gio/gio.h>

#include <QDir>
#include <QLoggingCategory>

#include <algorithm>
#include <chrono>
#include <optional>
#include <thread>
#include <utility>

namespace platform {

namespace {

Q_LOGGING_CATEGORY(instanceLog, "tavlin.instance", QtWarningMsg)

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Bus = std::shared_ptr<GDBusConnection>;

/// How long a start may take to come to terms with the bus and the program that runs already.
constexpr auto patience = 5s;
constexpr auto retryAfter = 20ms;
/// What is named beyond this time is handed over unasked.
constexpr auto examiningTakes = 1s;
/// A request is taken until so long before its start gives up, or its answer might come when nobody waits.
constexpr auto answerTakes = 200ms;

constexpr const char* name = TAVLIN_APPLICATION_ID;
constexpr const char* objectPath = "/org/tavlin/Tavlin";
constexpr const char* interfaceName = "org.freedesktop.Application";
constexpr const char* interfaceDescription =
    "<node><interface name='org.freedesktop.Application'>"
    "<method name='Activate'><arg type='a{sv}' direction='in'/></method>"
    "<method name='Open'><arg type='as' direction='in'/><arg type='a{sv}' direction='in'/></method>"
    "<method name='ActivateAction'>"
    "<arg type='s' direction='in'/><arg type='av' direction='in'/><arg type='a{sv}' direction='in'/>"
    "</method></interface></node>";
constexpr const char* startupIdKey = "desktop-startup-id";
constexpr const char* tokenKey = "activation-token";
/// Milliseconds of the machine's steady clock, which all its programs share: a running program that was busy
/// until then must not open what the start has meanwhile opened itself.
constexpr const char* deadlineKey = "tavlin-deadline";
/// Longer names of a start are nobody's: they would travel to the X server in pieces of 20 bytes.
constexpr std::size_t longestStartupId = 1024;

int millisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return std::max(1, static_cast<int>(left.count()));
}

/// Logs an error and frees it. The toolkit would wait much longer for a bus that has not answered in time,
/// with no window yet: it is left alone then. The environment alone tells the toolkit so; other threads
/// then (GLib's for the bus that failed, idle ones that asked for paths) may read it meanwhile, which is
/// accepted.
void report(const char* what, GError* error) {
    qCInfo(instanceLog, "%s: %s", what, error == nullptr ? "" : error->message);
    if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED) != FALSE ||
        g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) != FALSE) {
        qCWarning(instanceLog, "The session bus does not answer; this program does without it.");
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    }
    g_clear_error(&error);
}

/// What an asynchronous connecting answers.
struct Connecting {
    GDBusConnection* bus = nullptr;
    GError* error = nullptr;
    bool isDone = false;
};

void didConnect(GObject* /*source*/, GAsyncResult* result, void* data) {
    auto& connecting = *static_cast<Connecting*>(data);
    connecting.bus = g_dbus_connection_new_for_address_finish(result, &connecting.error);
    connecting.isDone = true;
}

gboolean giveUp(void* cancellable) {
    g_cancellable_cancel(static_cast<GCancellable*>(cancellable));
    return G_SOURCE_REMOVE;
}

/// A connection of the program's own, as the shared ones can neither be waited for with a deadline nor have
/// an object before messages come. Null without a bus that answers in time.
Bus connectToBus(Clock::time_point deadline) {
    GMainContext* context = g_main_context_new();
    g_main_context_push_thread_default(context);
    GCancellable* cancellable = g_cancellable_new();
    GSource* alarm = g_timeout_source_new(static_cast<guint>(millisecondsUntil(deadline)));
    g_source_set_callback(alarm, giveUp, cancellable, nullptr);
    g_source_attach(alarm, context);
    Connecting connecting;
    g_dbus_connection_new_for_address(
        qgetenv("DBUS_SESSION_BUS_ADDRESS").constData(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, cancellable, didConnect, &connecting);
    while (!connecting.isDone)
        g_main_context_iteration(context, TRUE);
    g_source_destroy(alarm);
    g_source_unref(alarm);
    g_object_unref(cancellable);
    g_main_context_pop_thread_default(context);
    g_main_context_unref(context);
    if (connecting.bus == nullptr) {
        report("no session bus", connecting.error);
        return nullptr;
    }
    return Bus(connecting.bus, &g_object_unref);
}

enum class Ownership { first, later, refused };

Ownership requestName(GDBusConnection* bus, Clock::time_point deadline) {
    constexpr guint32 doNotQueue = 4;
    constexpr guint32 isOwner = 1;
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
        g_variant_new("(su)", name, doNotQueue), G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE,
        millisecondsUntil(deadline), nullptr, &error);
    if (reply == nullptr) {
        report("the bus gives no name", error);
        return Ownership::refused;
    }
    guint32 answer = 0;
    g_variant_get(reply, "(u)", &answer);
    g_variant_unref(reply);
    return answer == isOwner ? Ownership::first : Ownership::later;
}

gint64 steadyMilliseconds(Clock::time_point time) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
}

/// The interface's "platform data".
GVariant* platformData(const ActivationToken& activation, Clock::time_point deadline) {
    GVariantBuilder data;
    g_variant_builder_init(&data, G_VARIANT_TYPE_VARDICT);
    const auto add = [&data](const char* key, const QByteArray& value) {
        if (g_utf8_validate(value.constData(), value.size(), nullptr) != FALSE && !value.isEmpty())
            g_variant_builder_add(&data, "{sv}", key, g_variant_new_string(value.constData()));
    };
    add(startupIdKey, activation.startupId);
    add(tokenKey, activation.token);
    g_variant_builder_add(&data, "{sv}", deadlineKey,
                          g_variant_new_int64(steadyMilliseconds(deadline - answerTakes)));
    return g_variant_builder_end(&data);
}

GVariant* uriList(const QStringList& paths) {
    GVariantBuilder uris;
    g_variant_builder_init(&uris, G_VARIANT_TYPE_STRING_ARRAY);
    for (const QString& path : paths)
        g_variant_builder_add(&uris, "s", fileUriFromPath(path).constData());
    return g_variant_builder_end(&uris);
}

/// A request without the paths that nothing is at.
struct ExaminedRequest {
    StartRequest rest;
    QStringList missing;
    bool isVain() const { return rest.paths.isEmpty() && !missing.isEmpty(); }
};

/// Asks with a reader of its own, as this start may still become the program.
ExaminedRequest examine(const StartRequest& request) {
    const auto until = Clock::now() + examiningTakes;
    FolderReader reader;
    ExaminedRequest examined{{{}, request.activation}, {}};
    for (const QString& path : request.paths) {
        const auto status = Clock::now() < until ? reader.contents(path, FolderDetail::status) : std::nullopt;
        const bool isMissing = status && !status->modificationTime;
        (isMissing ? examined.missing : examined.rest.paths).append(path);
    }
    return examined;
}

/// Whether the running program has taken the request.
bool handOver(GDBusConnection* bus, const StartRequest& request, Clock::time_point deadline) {
    GVariant* data = platformData(request.activation, deadline);
    const bool opens = !request.paths.isEmpty();
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(
        bus, name, objectPath, interfaceName, opens ? "Open" : "Activate",
        opens ? g_variant_new("(@as@a{sv})", uriList(request.paths), data) : g_variant_new("(@a{sv})", data),
        nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, millisecondsUntil(deadline), nullptr, &error);
    if (reply == nullptr) {
        qCInfo(instanceLog, "the running program does not take the request: %s", error->message);
        g_clear_error(&error);
        return false;
    }
    g_variant_unref(reply);
    return true;
}

ActivationToken activationFrom(GVariant* data) {
    const auto text = [data](const char* key) {
        const char* value = nullptr;
        const bool isThere = g_variant_lookup(data, key, "&s", &value) != FALSE;
        return isThere && qstrnlen(value, longestStartupId + 1) <= longestStartupId ? QByteArray(value)
                                                                                    : QByteArray();
    };
    return {text(startupIdKey), text(tokenKey)};
}

bool isTooLate(GVariant* data) {
    gint64 deadline = 0;
    return g_variant_lookup(data, deadlineKey, "x", &deadline) != FALSE &&
           steadyMilliseconds(Clock::now()) >= deadline;
}

QStringList pathsFrom(GVariant* uris) {
    QStringList paths;
    GVariantIter next;
    g_variant_iter_init(&next, uris);
    for (const char* uri = nullptr; g_variant_iter_next(&next, "&s", &uri) != FALSE;) {
        const QString path = pathFromFileUri(uri);
        if (path.isNull())
            qCWarning(instanceLog, "not a file of this computer: \"%s\"", uri);
        else
            paths += QDir::cleanPath(path);  // a start of ours has resolved links before ".."
    }
    return paths;
}

}  // namespace

RunningInstance::Outcome RunningInstance::become(const StartRequest& request) {
    std::unique_ptr<RunningInstance> instance(new RunningInstance);
    // Requests come by GLib's loop alone.
    if (!qEnvironmentVariableIsEmpty("QT_NO_GLIB"))
        return {std::move(instance), {}};
    const auto deadline = Clock::now() + patience;
    const Bus bus = connectToBus(deadline);
    if (bus == nullptr)
        return {std::move(instance), {}};
    instance->serve(bus);
    std::optional<ExaminedRequest> examined;
    for (;;) {
        const Ownership ownership = requestName(bus.get(), deadline);
        if (ownership == Ownership::first)
            return {std::move(instance), {}};
        if (ownership == Ownership::later && !examined)
            examined = examine(request);
        if (ownership == Ownership::later &&
            (examined->isVain() || handOver(bus.get(), examined->rest, deadline)))
            return {nullptr, examined->missing};
        if (ownership == Ownership::later && Clock::now() >= deadline)
            qCWarning(instanceLog,
                      "The program that runs already does not answer; this one runs on its own.");
        if (ownership == Ownership::refused || Clock::now() >= deadline) {
            instance->retire();
            return {std::move(instance), {}};
        }
        // The running program is about to end, or has just done so.
        std::this_thread::sleep_for(retryAfter);
    }
}

RunningInstance::~RunningInstance() {
    retire();
}

/// Before the name is asked for, so that nothing sent to it is lost. Calls come through the default context
/// of the thread, which is the main loop's.
void RunningInstance::serve(const Bus& bus) {
    static constexpr GDBusInterfaceVTable table = {
        [](GDBusConnection*, const char*, const char*, const char*, const char* method, GVariant* parameters,
           GDBusMethodInvocation* invocation,
           void* self) { static_cast<RunningInstance*>(self)->answer(method, parameters, invocation); },
        nullptr,
        nullptr,
        {}};
    _bus = bus;
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(interfaceDescription, nullptr);
    _registration = g_dbus_connection_register_object(_bus.get(), objectPath, node->interfaces[0], &table,
                                                      this, nullptr, nullptr);
    g_dbus_node_info_unref(node);
}

void RunningInstance::retire() {
    if (const unsigned registration = std::exchange(_registration, 0); registration != 0)
        g_dbus_connection_unregister_object(_bus.get(), registration);
}

void RunningInstance::answer(const char* method, GVariant* parameters, GDBusMethodInvocation* invocation) {
    if (qstrcmp(method, "ActivateAction") == 0) {
        g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.DBus.Error.InvalidArgs",
                                                   "This program has no actions.");
        return;
    }
    const bool opens = qstrcmp(method, "Open") == 0;
    StartRequest request;
    GVariant* data = g_variant_get_child_value(parameters, opens ? 1 : 0);
    request.activation = activationFrom(data);
    const bool comesTooLate = isTooLate(data);
    g_variant_unref(data);
    if (comesTooLate) {
        qCInfo(instanceLog, "a request that nobody waits for any more is left alone");
        g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.DBus.Error.TimedOut",
                                                   "This request comes too late.");
        return;
    }
    if (opens) {
        GVariant* uris = g_variant_get_child_value(parameters, 0);
        request.paths = pathsFrom(uris);
        g_variant_unref(uris);
    }
    g_dbus_method_invocation_return_value(invocation, nullptr);
    Q_EMIT asked(request);
}

}  // namespace platform
