// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/ImageBatches.h"

#include "platform/FileAccess.h"
#include "platform/PathBytes.h"

#include <algorithm>
#include <iterator>
#include <system_error>
#include <utility>

namespace {

/// Large enough that handing over costs nothing beside the work, small enough that all threads have some.
constexpr int namesInBatch = 256;
constexpr std::size_t mostWaiting = 32;
constexpr unsigned mostThreads = 4;

}  // namespace

void ImageBatches::addImage(const ImageRef& image) {
    if (_filling.nameCount > 0)
        handOver();
    _filling.images.push_back(image);
    _numberFound.fetch_add(1, std::memory_order_relaxed);
}

void ImageBatches::addEntry(const QString& folderPrefix, const ImageBatch::Descriptor& folder,
                            QByteArrayView name) {
    if (_filling.nameCount == namesInBatch || (_filling.nameCount > 0 && _filling.folder != folder))
        handOver();
    if (_filling.nameCount++ == 0) {
        _filling.folderPrefix = folderPrefix;
        _filling.folder = folder;
    }
    _filling.names.append(name.data(), name.size() + 1);
}

void ImageBatches::handOver() {
    std::unique_lock lock(_mutex);
    _batches.push_back(std::exchange(_filling, {}));
    const std::size_t waiting = _batches.size() - _nextToMake;
    if (waiting > _threads.size() + 1 &&
        _threads.size() + 1 < std::clamp(std::thread::hardware_concurrency(), 2U, mostThreads))
        startThread();
    _wakeUp.notify_one();
    if (waiting > mostWaiting)
        makeNext(lock);
}

void ImageBatches::startThread() {
    try {
        _threads.emplace_back([this] { work(); });
    } catch (const std::system_error&) {
        // The walk's own thread makes them all.
    }
}

void ImageBatches::work() {
    std::unique_lock lock(_mutex);
    for (;;) {
        _wakeUp.wait(lock, [this] { return _isComplete || _nextToMake < _batches.size(); });
        if (!makeNext(lock))
            return;
    }
}

bool ImageBatches::makeNext(std::unique_lock<std::mutex>& lock) {
    if (_nextToMake == _batches.size())
        return false;
    ImageBatch& batch = _batches[_nextToMake++];  // stays where it is while others are added
    lock.unlock();
    std::exception_ptr failure;
    try {
        make(batch);
    } catch (...) {
        failure = std::current_exception();
    }
    lock.lock();
    if (failure)
        _failure = failure;
    return true;
}

void ImageBatches::make(ImageBatch& batch) {
    const std::size_t before = batch.images.size();
    batch.images.reserve(before + static_cast<std::size_t>(batch.nameCount));
    const char* const end = batch.names.constData() + batch.names.size();
    for (const char* at = batch.names.constData(); at < end && !_isStopped;) {
        const QByteArrayView name(at);
        at += name.size() + 1;
        const ImageRef image(new ImageObject);
        image->setPathInFolder(batch.folderPrefix, platform::pathFromBytes(name),
                               platform::fileStatusAt(batch.folder->get(), name.data()));
        batch.images.push_back(image);
    }
    _numberFound.fetch_add(batch.images.size() - before, std::memory_order_relaxed);
    batch.folder.reset();
    batch.names.clear();
}

void ImageBatches::finish() {
    handOver();
    {
        std::unique_lock lock(_mutex);
        while (makeNext(lock)) {
        }
    }
    endThreads();
    if (_failure)
        std::rethrow_exception(std::exchange(_failure, nullptr));
}

void ImageBatches::endThreads() {
    {
        const std::scoped_lock lock(_mutex);
        _isComplete = true;
        _wakeUp.notify_all();
    }
    for (std::thread& thread : _threads)
        thread.join();
    _threads.clear();
    _isComplete = false;
}

ImageList ImageBatches::takeImages() {
    ImageList images;
    std::size_t count = _filling.images.size();
    for (const ImageBatch& batch : _batches)
        count += batch.images.size();
    images.reserve(count);
    const auto take = [&](ImageBatch& batch) {
        images.insert(images.end(), std::make_move_iterator(batch.images.begin()),
                      std::make_move_iterator(batch.images.end()));
    };
    std::for_each(_batches.begin(), _batches.end(), take);
    take(_filling);
    _filling = {};
    _batches.clear();
    _nextToMake = 0;
    return images;
}
