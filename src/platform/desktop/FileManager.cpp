// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/FileManager.h"

#include "platform/DescriptorLimit.h"
#include "platform/desktop/Workspace.h"
#include "platform/PathBytes.h"

#include <gio/gio.h>

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTimer>

#include <chrono>
#include <memory>
#include <optional>
#include <utility>

namespace platform {

namespace {

using namespace std::chrono_literals;

Q_LOGGING_CATEGORY(fileManagerLog, "tavlin.filemanager")

/// Logs an error and frees it; whether there was one.
bool report(const char* what, GError* error) {
    if (error == nullptr)
        return false;
    qCWarning(fileManagerLog, "%s: %s", what, error->message);
    g_error_free(error);
    return true;
}

using LimitOfChild = std::shared_ptr<std::optional<InheritedDescriptorLimit>>;
/// A program that the bus starts is no child, and may be long in answering.
constexpr auto childIsMadeWithin = 1s;

void didLaunch(GObject* program, GAsyncResult* result, void* data) {
    const std::unique_ptr<LimitOfChild> limit(static_cast<LimitOfChild*>(data));
    (*limit)->reset();
    GError* error = nullptr;
    g_app_info_launch_uris_finish(G_APP_INFO(program), result, &error);
    if (report("a program could not be started", error))
        Q_EMIT Workspace::sharedWorkspace().openingFailed();
}

void didFindHandler(GObject* file, GAsyncResult* result, void* /*data*/) {
    GError* error = nullptr;
    GAppInfo* program = g_file_query_default_handler_finish(G_FILE(file), result, &error);
    if (report("no program for a file", error)) {
        Q_EMIT Workspace::sharedWorkspace().openingFailed();
        return;
    }
    char* uri = g_file_get_uri(G_FILE(file));
    launch(program, {uri});
    g_free(uri);
    g_object_unref(program);
}

/// The files that the file manager is asked to show, until it has answered.
using Asked = QStringList;

void openFoldersOf(const Asked& paths) {
    QStringList folders;
    for (const QString& path : paths)
        folders += pathByDeletingLastComponent(path);
    folders.removeDuplicates();
    for (const QString& folder : folders)
        openFile(fileUriFromPath(folder));
}

/// A file manager that takes its time may show them yet, so its silence opens nothing.
void didShow(GObject* bus, GAsyncResult* result, void* data) {
    const std::unique_ptr<Asked> asked(static_cast<Asked*>(data));
    GError* error = nullptr;
    GVariant* answer = g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, &error);
    g_clear_pointer(&answer, g_variant_unref);
    const bool isSilent = g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY) != FALSE ||
                          g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_TIMEOUT) != FALSE ||
                          g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) != FALSE;
    if (report("the file manager shows nothing", error) && !isSilent)
        openFoldersOf(*asked);
}

void didConnect(GObject* /*source*/, GAsyncResult* result, void* data) {
    std::unique_ptr<Asked> asked(static_cast<Asked*>(data));
    GError* error = nullptr;
    GDBusConnection* bus = g_bus_get_finish(result, &error);
    if (report("there is no session bus", error)) {
        openFoldersOf(*asked);
        return;
    }
    GVariantBuilder uris;
    g_variant_builder_init(&uris, G_VARIANT_TYPE_STRING_ARRAY);
    for (const QString& path : *asked)
        g_variant_builder_add(&uris, "s", fileUriFromPath(path).constData());
    constexpr int usualTimeout = -1;
    g_dbus_connection_call(bus, "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                           "org.freedesktop.FileManager1", "ShowItems", g_variant_new("(ass)", &uris, ""),
                           nullptr, G_DBUS_CALL_FLAGS_NONE, usualTimeout, nullptr, didShow, asked.release());
    g_object_unref(bus);
}

}  // namespace

void launch(_GAppInfo* program, const QByteArrayList& uris) {
    GList* list = nullptr;
    for (auto uri = uris.rbegin(); uri != uris.rend(); ++uri)
        list = g_list_prepend(list, const_cast<char*>(uri->constData()));
    // The child is made in a later turn of the event loop.
    const auto limit = std::make_shared<std::optional<InheritedDescriptorLimit>>(std::in_place);
    QTimer::singleShot(childIsMadeWithin, QCoreApplication::instance(), [limit] { limit->reset(); });
    g_app_info_launch_uris_async(program, list, nullptr, nullptr, didLaunch, new LimitOfChild(limit));
    g_list_free(list);
}

void openFile(const QByteArray& uri) {
    GFile* file = g_file_new_for_uri(uri.constData());
    g_file_query_default_handler_async(file, G_PRIORITY_DEFAULT, nullptr, didFindHandler, nullptr);
    g_object_unref(file);
}

void showItems(const QStringList& paths) {
    g_bus_get(G_BUS_TYPE_SESSION, nullptr, didConnect, new Asked(paths));
}

}  // namespace platform
