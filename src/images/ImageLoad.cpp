// SPDX-License-Identifier: GPL-3.0-or-later
#include "images/ImageLoad.h"

#include "platform/desktop/UserDefaults.h"
#include "platform/Guard.h"
#include "platform/views/ImageBrowserView.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "support/Logging.h"

#include <QMetaObject>

#include <atomic>
#include <system_error>
#include <thread>

namespace {

constexpr const char* addPathsName = "-[ImageBrowserDataSource addImagesWithPaths:]";

std::atomic<int> threadsRunning = 0;

}  // namespace

void ImageLoadReceiver::mergeWaiting() {
    _meeting.mergeWaiting();
}

ImageLoadMeeting::ImageLoadMeeting(QObject* context, Merge merge)
    : _context(new ImageLoadReceiver(*this, context)), _merge(std::move(merge)) {
}

void ImageLoadMeeting::close() {
    std::deque<std::shared_ptr<ImageLoad>>
        abandoned;  // a load holds the meeting: they go when the lock is free
    const std::scoped_lock guard(_lock);
    _context = nullptr;
    _view = nullptr;
    abandoned.swap(_waiting);
    _isDone.notify_all();
}

void ImageLoadMeeting::setView(platform::ImageBrowserView* view) {
    const std::scoped_lock guard(_lock);
    _view = view;
}

void ImageLoadMeeting::setShownImages(ImageListRef images) {
    const std::scoped_lock guard(_lock);
    _shownImages.swap(images);
}

void ImageLoadMeeting::setAnimates(bool animates) {
    const std::scoped_lock guard(_lock);
    if (_view != nullptr)
        _view->setAnimates(animates);
}

ImageListRef ImageLoadMeeting::shownImages() const {
    const std::scoped_lock guard(_lock);
    return _shownImages;
}

void ImageLoadMeeting::mergeAndWait(const std::shared_ptr<ImageLoad>& load) {
    std::unique_lock guard(_lock);
    if (_context == nullptr)
        return;
    // The event carries nothing: what is to be merged is handed over under the lock.
    _waiting.push_back(load);
    QMetaObject::invokeMethod(_context, &ImageLoadReceiver::mergeWaiting, Qt::QueuedConnection);
    _isDone.wait(guard, [&] { return load->_isMerged || _context == nullptr; });
}

void ImageLoadMeeting::mergeWaiting() {
    std::unique_lock guard(_lock);
    while (_context != nullptr && !_waiting.empty()) {
        const std::shared_ptr<ImageLoad> load = std::move(_waiting.front());
        _waiting.pop_front();
        guard.unlock();
        platform::guarded("merging images", [&] { _merge(load); });
        guard.lock();
        load->_isMerged = true;
        _isDone.notify_all();
    }
}

bool ImageLoad::detach() {
    try {
        ++threadsRunning;
        std::thread([load = shared_from_this()]() mutable {
            platform::guarded("a load", [&] { load->addImagesWithPaths(); });
            load.reset();
            --threadsRunning;
        }).detach();
    } catch (const std::system_error&) {
        --threadsRunning;
        return false;
    }
    return true;
}

int ImageLoad::numberRunning() {
    return threadsRunning;
}

void ImageLoad::addImagesWithPaths() {
    logWithMethodName(addPathsName, 132, u"Start");
    platform::guarded("loading images", [this] {
        collect();
        if (!isStopped())
            _prepared =
                preparedMerge(_meeting->shownImages(), std::make_shared<const ImageList>(_walk.takeImages()),
                              imageSortOrderSetting());
    });
    if (!isStopped())
        _meeting->mergeAndWait(shared_from_this());
    _prepared = {};
    logWithMethodName(addPathsName, 163, u"End");
}

void ImageLoad::collect() {
    logWithMethodName(addPathsName, 137, u"appGlobals: %@", [] { return appGlobals->description(); });
    const QVariant animation = appGlobals->objectForKey(PreferenceKeys::imageBrowserAnimation);
    const bool animates = platform::boolReading(animation);
    logWithMethodName(addPathsName, 139, u"setAnimates to: %@", animation);
    logWithMethodName(addPathsName, 141, u"setAnimates to: %i", animates);
    _meeting->setAnimates(animates);

    logWithMethodName(addPathsName, 146, u"Got %i urls.", _paths.size());
    for (qsizetype i = 0; i < _paths.size() && !isStopped(); ++i) {
        logWithMethodName(addPathsName, 149, u"Adding from URL (path) %i...", i);
        logWithMethodName(addPathsName, 152, u"path: %@", _paths[i]);
        const bool recursive =
            platform::boolReading(appGlobals->objectForKey(PreferenceKeys::imageBrowserRecursive));
        logWithMethodName(addPathsName, 154, u"recursively: %i", recursive);
        _walk.addImagesWithPathRecursive(_paths[i], recursive);
    }
}
