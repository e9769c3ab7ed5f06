// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/FolderReader.h"

#include <QStringList>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <utility>

/// A place that answers no visit until it is told to: what platform::FolderReader is to be given as its read
/// function, while this lives. Paths that do not begin with `below` are visited at once.
class SlowPlace {
 public:
    explicit SlowPlace(QString below = QStringLiteral("/")) : _below(std::move(below)) {}
    ~SlowPlace() { answer(); }
    SlowPlace(const SlowPlace&) = delete;
    SlowPlace& operator=(const SlowPlace&) = delete;

    platform::FolderReader::Read read() {
        return [this](const QString& path, platform::FolderDetail detail,
                      const platform::LinkStatus& linkStatus) {
            if (path.startsWith(_below))
                waitForAnswer(path);
            return platform::readFolder(path, detail, linkStatus);
        };
    }
    void answer() {
        const std::scoped_lock guard(_lock);
        _answers = true;
        _changed.notify_all();
    }
    QStringList visited() {
        const std::scoped_lock guard(_lock);
        return _visited;
    }
    int mostAtOnce() {
        const std::scoped_lock guard(_lock);
        return _mostAtOnce;
    }

 private:
    void waitForAnswer(const QString& path) {
        std::unique_lock guard(_lock);
        _visited.append(path);
        _mostAtOnce = std::max(_mostAtOnce, ++_atOnce);
        _changed.wait(guard, [this] { return _answers; });
        --_atOnce;
    }

    const QString _below;
    std::mutex _lock;  ///< guards all below
    std::condition_variable _changed;
    bool _answers = false;
    QStringList _visited;
    int _atOnce = 0;
    int _mostAtOnce = 0;
};
