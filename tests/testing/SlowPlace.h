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

    platform::FolderReader::Read read() {
        return [this](const QString& path, const auto&... arguments) {
            std::unique_lock guard(_lock);
            if (path.startsWith(_below)) {
                _visited.append(path);
                _mostAtOnce = std::max(_mostAtOnce, ++_atOnce);
                _changed.wait(guard, [this] { return _answers; });
                --_atOnce;
            }
            guard.unlock();
            return platform::readFolder(path, arguments...);
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
    const QString _below;
    std::mutex _lock;  ///< guards all below
    std::condition_variable _changed;
    bool _answers = false;
    QStringList _visited;
    int _atOnce = 0;
    int _mostAtOnce = 0;
};
