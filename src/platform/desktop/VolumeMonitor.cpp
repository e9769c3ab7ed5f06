// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/VolumeMonitor.h"

#include "platform/Guard.h"
#include "platform/PathBytes.h"

#include <gio/gio.h>

#include <QAbstractEventDispatcher>
#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

namespace platform {

namespace {

using namespace std::chrono_literals;

constexpr auto burst = 20ms;

bool isGLibsLoopRunning() {
    const QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance();
    return dispatcher != nullptr && dispatcher->inherits("QEventDispatcherGlib");
}

QString mountFolderOf(GMount* mount) {
    GFile* root = g_mount_get_root(mount);
    char* path = g_file_is_native(root) != FALSE ? g_file_get_path(root) : nullptr;
    QString folder = path == nullptr ? QString() : pathFromBytes(path);
    g_free(path);
    g_object_unref(root);
    return folder;
}

const Volume* findVolume(const QList<Volume>& volumes, const QString& path) {
    const auto found =
        std::find_if(volumes.begin(), volumes.end(), [&](const Volume& each) { return each.path == path; });
    return found == volumes.end() ? nullptr : &*found;
}

}  // namespace

/// What GIO knows of the volumes. Only its making is on a thread of GLib's, as it greets several services of
/// the desktop and waits for them, 25 s for one that hangs. That thread has no context of its own, so that
/// the monitor belongs to the main one: its signals arrive there, and nobody else uses it.
struct VolumeMonitor::GioMonitor {
    explicit GioMonitor(VolumeMonitor& owner);
    ~GioMonitor();
    GioMonitor(const GioMonitor&) = delete;
    GioMonitor& operator=(const GioMonitor&) = delete;

    VolumeMonitor& owner;
    GCancellable* cancellable = g_cancellable_new();
    GVolumeMonitor* monitor = nullptr;

    static void make(GTask* task, void* source, void* data, GCancellable* cancellable);
    static void take(GObject* source, GAsyncResult* result, void* self);
    static void tellUnmount(GVolumeMonitor* monitor, GMount* mount, void* self);
    static void listSoon(GVolumeMonitor* monitor, GMount* mount, void* self);
};

VolumeMonitor::GioMonitor::GioMonitor(VolumeMonitor& owningMonitor) : owner(owningMonitor) {
    GTask* task = g_task_new(nullptr, cancellable, take, this);
    g_task_run_in_thread(task, make);
    g_object_unref(task);
}

VolumeMonitor::GioMonitor::~GioMonitor() {
    g_cancellable_cancel(cancellable);
    g_object_unref(cancellable);
    if (monitor == nullptr)
        return;
    g_signal_handlers_disconnect_by_data(monitor, this);
    g_object_unref(monitor);
}

void VolumeMonitor::GioMonitor::make(GTask* task, void* /*source*/, void* /*data*/,
                                     GCancellable* /*cancellable*/) {
    g_task_return_pointer(task, g_volume_monitor_get(), g_object_unref);
}

/// A cancelled task has no monitor to take, and its owner is gone.
void VolumeMonitor::GioMonitor::take(GObject* /*source*/, GAsyncResult* result, void* self) {
    auto* made = static_cast<GVolumeMonitor*>(g_task_propagate_pointer(G_TASK(result), nullptr));
    if (made == nullptr)
        return;
    auto* own = static_cast<GioMonitor*>(self);
    own->monitor = made;
    g_signal_connect(made, "mount-pre-unmount", G_CALLBACK(tellUnmount), self);
    for (const char* signal : {"mount-added", "mount-changed", "mount-removed"})
        g_signal_connect(made, signal, G_CALLBACK(listSoon), self);
    own->owner.listSoon();
}

void VolumeMonitor::GioMonitor::tellUnmount(GVolumeMonitor* /*monitor*/, GMount* mount, void* self) {
    const QString folder = mountFolderOf(mount);
    if (!folder.isNull())
        guarded("an unmount", [&] { Q_EMIT static_cast<GioMonitor*>(self)->owner.willUnmount(folder); });
}

void VolumeMonitor::GioMonitor::listSoon(GVolumeMonitor* /*monitor*/, GMount* /*mount*/, void* self) {
    static_cast<GioMonitor*>(self)->owner.listSoon();
}

VolumeMonitor::VolumeMonitor(QObject* parent, List list)
    : QObject(parent), _list(std::move(list)), _volumes(_list()) {
    _delay.setSingleShot(true);
    _delay.setInterval(burst);
    connect(&_delay, &QTimer::timeout, this, &VolumeMonitor::listAgain);
    connect(&_turn, &QTimer::timeout, this, &VolumeMonitor::tellNext);
    if (_table.descriptor() >= 0) {
        auto* notifier = new QSocketNotifier(_table.descriptor(), QSocketNotifier::Exception, this);
        connect(notifier, &QSocketNotifier::activated, this, &VolumeMonitor::listSoon);
    }
    if (isGLibsLoopRunning())
        _gio = std::make_unique<GioMonitor>(*this);
}

VolumeMonitor::~VolumeMonitor() = default;

/// A burst does not put the listing off again and again.
void VolumeMonitor::listSoon() {
    if (!_delay.isActive())
        _delay.start();
}

void VolumeMonitor::listAgain() {
    const QList<Volume> before = std::exchange(_volumes, _list());
    for (const Volume& old : before) {
        if (findVolume(_volumes, old.path) == nullptr)
            _untold.emplace_back(&VolumeMonitor::didUnmount, old);
    }
    for (const Volume& volume : _volumes) {
        const Volume* old = findVolume(before, volume.path);
        if (old == nullptr)
            _untold.emplace_back(&VolumeMonitor::didMount, volume);
        else if (old->name != volume.name)
            _untold.emplace_back(&VolumeMonitor::didRename, volume);
    }
    if (!_untold.empty() && !_turn.isActive())
        _turn.start(0);
}

void VolumeMonitor::tellNext() {
    const auto [event, volume] = std::move(_untold.front());
    _untold.pop_front();
    if (_untold.empty())
        _turn.stop();
    Q_EMIT(this->*event)(volume.path, displayablePath(volume.name));
}

}  // namespace platform
