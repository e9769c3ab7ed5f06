// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/desktop/Volumes.h"
#include "platform/MountTable.h"

#include <QObject>
#include <QTimer>

#include <deque>
#include <functional>
#include <memory>

namespace platform {

/// Follows the volumes that a user should see. The kernel tells of every change of the mount table, with any
/// event loop; where GLib's runs, GIO tells besides what the table does not: an unmount that is about to
/// happen, and a label that is known only later. As events coalesce, each makes the volumes be listed again,
/// and the difference is told, one volume in a turn of the event loop, so that many of them hold up nothing.
/// Main thread only; asks no volume.
class VolumeMonitor : public QObject {
    Q_OBJECT

 public:
    using List = std::function<QList<Volume>()>;

    explicit VolumeMonitor(QObject* parent = nullptr, List list = mountedVolumes);
    ~VolumeMonitor() override;

    /// Something happened: the volumes are listed again soon.
    void listSoon();

 Q_SIGNALS:
    /// Told while the volume is still there, before the event loop's next turn; the unmount may yet fail.
    void willUnmount(const QString& path);
    /// The mount folder, and the display name fit to be shown; that of a volume that went as it was last.
    void didMount(const QString& path, const QString& name);
    void didUnmount(const QString& path, const QString& name);
    void didRename(const QString& path, const QString& name);

 private:
    using Event = void (VolumeMonitor::*)(const QString& path, const QString& name);
    struct GioMonitor;

    void listAgain();
    void tellNext();

    const List _list;
    QList<Volume> _volumes;
    MountTable _table;
    QTimer _delay;  ///< lets a burst of events pass
    QTimer _turn;
    std::deque<std::pair<Event, Volume>> _untold;
    std::unique_ptr<GioMonitor> _gio;
};

}  // namespace platform
