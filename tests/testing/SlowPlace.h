// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/FolderReader.h"

#include <QStringList>

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

/// A place that answers no visit until it is told to, or is gone: what platform::FolderReader is to be given
/// as its read function. Visits still under way may outlive it. Paths that do not begin with `below` are
/// visited at once.
class SlowPlace {
 public:
    explicit SlowPlace(QString below = QStringLiteral("/")) : _state(std::make_shared<State>()) {
        _state->below = std::move(below);
    }
    ~SlowPlace() { answer(); }

    platform::FolderReader::Read read() {
        return [state = _state](const QString& path, const auto&... arguments) {
            state->wait(path);
            return platform::readFolder(path, arguments...);
        };
    }
    void answer() {
        const std::scoped_lock guard(_state->lock);
        _state->answers = true;
        _state->changed.notify_all();
    }
    QStringList visited() {
        const std::scoped_lock guard(_state->lock);
        return _state->visited;
    }
    int mostAtOnce() {
        const std::scoped_lock guard(_state->lock);
        return _state->mostAtOnce;
    }

 private:
    struct State {
        void wait(const QString& path) {
            std::unique_lock guard(lock);
            if (!path.startsWith(below))
                return;
            visited.append(path);
            mostAtOnce = std::max(mostAtOnce, ++atOnce);
            changed.wait(guard, [this] { return answers; });
            --atOnce;
        }

        QString below;
        std::mutex lock;  ///< guards all below
        std::condition_variable changed;
        bool answers = false;
        QStringList visited;
        int atOnce = 0;
        int mostAtOnce = 0;
    };
    std::shared_ptr<State> _state;
};
