// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "images/ImageMerge.h"
#include "images/ImageWalk.h"

#include <QObject>
#include <QStringList>

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace platform {
class ImageBrowserView;
}

class ImageLoad;
class ImageLoadMeeting;

/// Receives the loading threads' event on the main thread, for as long as its owner lives.
class ImageLoadReceiver : public QObject {
    Q_OBJECT

 public:
    ImageLoadReceiver(ImageLoadMeeting& meeting, QObject* owner) : QObject(owner), _meeting(meeting) {}
    void mergeWaiting();

 private:
    ImageLoadMeeting& _meeting;
};

/// Where the loading threads and the main thread meet. It outlives both sides: each thread holds it, and once
/// it is closed no thread touches the program's objects any more, which may then go away.
class ImageLoadMeeting {
 public:
    using Merge = std::function<void(const std::shared_ptr<ImageLoad>&)>;

    /// `merge` runs on the main thread, for as long as `context` lives. Both are borrowed until close().
    ImageLoadMeeting(QObject* context, Merge merge);

    /// Main thread: from now on nothing is merged, and no thread waits any longer.
    void close();
    /// Main thread.
    void setView(platform::ImageBrowserView* view);
    void setShownImages(ImageListRef images);

    /// Loading threads.
    void setAnimates(bool animates);
    ImageListRef shownImages() const;
    /// Has the load merged on the main thread and waits until it is, or until the meeting is closed.
    void mergeAndWait(const std::shared_ptr<ImageLoad>& load);

    /// Main thread: merges the loads that wait, in their order.
    void mergeWaiting();

 private:
    mutable std::mutex _lock;  ///< guards all below, and the waiting loads' _isMerged
    std::condition_variable _isDone;
    ImageLoadReceiver* _context;  ///< belongs to the constructor's context; null once closed
    std::deque<std::shared_ptr<ImageLoad>> _waiting;
    Merge _merge;
    platform::ImageBrowserView* _view = nullptr;
    ImageListRef _shownImages = std::make_shared<const ImageList>();
};

/// One load: a detached thread that walks the paths, prepares the merge, has it made on the main thread and
/// waits for that. The thread holds the load and the meeting, and nothing else; it is never joined. Its log
/// lines bear the name of ImageBrowserDataSource.
class ImageLoad : public std::enable_shared_from_this<ImageLoad> {
 public:
    ImageLoad(QStringList paths, std::shared_ptr<ImageLoadMeeting> meeting)
        : _paths(std::move(paths)), _meeting(std::move(meeting)) {}

    /// Starts the thread; false when the system has none left.
    bool detach();
    /// How many loading threads are alive, those overtaken included. Any thread.
    static int numberRunning();

    const QStringList& paths() const { return _paths; }
    /// Overtaken: the walk ends early, and nothing is merged. Any thread.
    void stop() { _walk.stop(); }
    bool isStopped() const { return _walk.isStopped(); }
    /// Any thread.
    std::size_t numberFound() const { return _walk.numberFound(); }

    /// Empty when the load failed. Main thread, during the merge.
    const PreparedMerge& prepared() const { return _prepared; }

 private:
    friend class ImageLoadMeeting;

    void addImagesWithPaths();
    void collect();

    const QStringList _paths;
    const std::shared_ptr<ImageLoadMeeting> _meeting;
    ImageWalk _walk;
    PreparedMerge _prepared;
    bool _isMerged = false;
};
