// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "images/ImageObject.h"

#include "platform/ScopedFileDescriptor.h"

#include <QByteArray>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

/// Some neighbours in the order of a walk: items, then names within one folder that are to become items.
struct ImageBatch {
    using Descriptor = std::shared_ptr<const platform::ScopedFileDescriptor>;

    ImageList images;
    QString folderPrefix;  ///< the folder's path with the slash at its end
    Descriptor folder;
    QByteArray names;  ///< each ended by NUL
    int nameCount = 0;
};

/// Makes the items of a walk on its own thread and a few more, in batches, as asking for a file's status is
/// most of the work; the list keeps the walk's order. Belongs to the walk's thread, but for numberFound().
/// The other threads start once there is enough to do, and end in finish(). Few batches wait at any time,
/// which bounds the folders kept open: beyond that the walk's own thread lends a hand.
class ImageBatches {
 public:
    /// Nothing more is made once `isStopped`, which may be said on any thread.
    explicit ImageBatches(const std::atomic<bool>& isStopped) : _isStopped(isStopped) {}
    ~ImageBatches() { endThreads(); }
    ImageBatches(const ImageBatches&) = delete;
    ImageBatches& operator=(const ImageBatches&) = delete;

    void addImage(const ImageRef& image);
    /// An entry of an open folder. The name ends with NUL.
    void addEntry(const QString& folderPrefix, const ImageBatch::Descriptor& folder, QByteArrayView name);
    /// Returns when all items are made. Throws what making one has thrown.
    void finish();
    /// The items in the order they were added; finish() comes first where there were entries.
    ImageList takeImages();
    std::size_t numberFound() const { return _numberFound.load(std::memory_order_relaxed); }

 private:
    void handOver();
    bool makeNext(std::unique_lock<std::mutex>& lock);
    void make(ImageBatch& batch);
    void startThread();
    void work();
    void endThreads();

    const std::atomic<bool>& _isStopped;
    std::atomic<std::size_t> _numberFound = 0;
    ImageBatch _filling;  ///< of the walk's thread alone
    std::vector<std::thread> _threads;

    std::mutex _mutex;  ///< guards what follows, but not what is in a batch being made
    std::condition_variable _wakeUp;
    std::deque<ImageBatch> _batches;
    std::size_t _nextToMake = 0;
    bool _isComplete = false;  ///< no batch will be added
    std::exception_ptr _failure;
};
