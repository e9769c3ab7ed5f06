// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/PictureTiles.h"

#include <QTimer>

#include <algorithm>

namespace platform {

namespace {

using namespace std::chrono_literals;

constexpr auto deadline = 60s;
/// A tile of a level that is not shown any more may take this long; what its decoder has kept is lost if it
/// is stopped.
constexpr auto patienceWithOtherLevel = 300ms;
constexpr std::size_t maximumShown = 512;  // tiles; more than any screen needs

}  // namespace

PictureTiles::PictureTiles(QString path, QSize size, TileCache& cache, QObject* parent)
    : QObject(parent), _path(std::move(path)), _grid(size), _cache(cache), _picture(cache.newPicture()) {
}

PictureTiles::~PictureTiles() {
    _cache.forget(_picture);
}

bool PictureTiles::isMissing(const TilePlace& place) const {
    return !_cache.contains({_picture, place}) && std::ranges::find(_failed, place) == _failed.cend();
}

void PictureTiles::show(const QRectF& part, int level) {
    _wanted.clear();
    std::vector<TilePlace> shown = _grid.tilesIn(part, level);
    if (shown.size() > maximumShown)
        shown.resize(maximumShown);
    _cache.setShown(_picture, shown);
    _interest = QRect();
    for (const TilePlace& place : shown)
        _interest |= _grid.areaOf(place);
    if (_isGivenUp || (_refusedLevels >> level & 1U) != 0)
        return;
    for (const TilePlace& place : shown)
        _wanted.push_back(place);
    if (!shown.empty()) {
        const double margin = (TileGrid::tileSide << level) / 2.0;
        for (const TilePlace& place :
             _grid.tilesIn(QRectF(_interest).adjusted(-margin, -margin, margin, margin), level)) {
            _wanted.push_back(place);
            _interest |= _grid.areaOf(place);
        }
    }
    std::erase_if(_wanted, [this](const TilePlace& place) { return !isMissing(place); });
    if (_task && _asked.level != level &&
        std::chrono::milliseconds(_askedAt.elapsed()) > patienceWithOtherLevel)
        _task.reset();
    else if (_task && _asked.level != level)
        QTimer::singleShot(patienceWithOtherLevel, this, &PictureTiles::dropOtherLevel);
    askNext();
}

/// Also where the view holds still.
void PictureTiles::dropOtherLevel() {
    if (!_task || _wanted.empty() || _asked.level == _wanted.front().level ||
        std::chrono::milliseconds(_askedAt.elapsed()) < patienceWithOtherLevel)
        return;
    _task.reset();
    askNext();
}

void PictureTiles::askNext() {
    if (_task)
        return;
    while (!_wanted.empty() && !isMissing(_wanted.front()))
        _wanted.pop_front();
    if (_wanted.empty())
        return;
    _asked = _wanted.front();
    _wanted.pop_front();
    DecodeRequest request;
    request.kind = DecodeRequest::Kind::region;
    request.level = _asked.level;
    request.region = _grid.areaOf(_asked);
    request.interest = _interest | request.region;
    _askedAt.start();
    _task = std::make_unique<DecodeTask>(DecodeThreads::tiles(_path), _path, request, deadline);
    connect(_task.get(), &DecodeTask::finished, this, &PictureTiles::take);
}

void PictureTiles::take() {
    const DecodeResult result = _task->takeResult();
    _task.release()->deleteLater();  // it is the one that calls
    const auto* picture = std::get_if<DecodedPicture>(&result);
    if (picture && picture->fullSize == _grid.pictureSize()) {
        ++_decodes;
        _cache.insert({_picture, _asked}, picture->image);
        const TilePlace place = _asked;
        askNext();
        Q_EMIT tileCame(place);
        return;
    }
    const auto* failure = std::get_if<DecodeFailure>(&result);
    noteFailure(failure ? failure->error : DecodeError::badAnswer);
    askNext();
}

void PictureTiles::noteFailure(DecodeError error) {
    switch (error) {
        case DecodeError::damaged:
            _failed.push_back(_asked);
            return;
        case DecodeError::tooLarge:
            _refusedLevels |= 1U << _asked.level;
            if (_wanted.empty() || _wanted.front().level != _asked.level)
                return;
            break;
        case DecodeError::cancelled:  // its volume may be about to go; the next move of the view asks again
            break;
        default:
            _isGivenUp = true;
    }
    _wanted.clear();
}

}  // namespace platform
