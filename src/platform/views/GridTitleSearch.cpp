// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/GridTitleSearch.h"

#include <QApplication>
#include <QTimerEvent>

#include <utility>

namespace platform {

namespace {

constexpr qint64 sliceMilliseconds = 8;
constexpr std::size_t titlesPerClockReading = 256;

}  // namespace

GridTitleSearch::GridTitleSearch(TitleAt titleAt, QObject* parent)
    : QObject(parent), _titleAt(std::move(titleAt)) {
}

bool GridTitleSearch::isTyping() const {
    return !_typed.isEmpty() && _sinceLastLetter.isValid() &&
           !_sinceLastLetter.hasExpired(QApplication::keyboardInputInterval());
}

void GridTitleSearch::stop() {
    _slices.stop();
    _typed.clear();
}

void GridTitleSearch::type(const QString& letters, std::size_t current, std::size_t count) {
    if (!isTyping())
        _typed.clear();
    _typed += letters;
    _sinceLastLetter.start();
    const bool isOneLetterAgain = _typed.size() > 1 && _typed.count(_typed.front()) == _typed.size();
    _prefix = isOneLetterAgain ? _typed.left(1) : _typed;
    // A first letter leads onwards; a longer prefix may still fit where the search stands.
    const bool movesOn = _prefix.size() == 1;
    _count = count;
    _left = count;
    _next = count == 0 ? 0 : (current + (movesOn ? 1 : 0)) % count;
    searchOneSlice();
}

void GridTitleSearch::timerEvent(QTimerEvent* event) {
    if (event->timerId() == _slices.timerId())
        searchOneSlice();
}

void GridTitleSearch::searchOneSlice() {
    QElapsedTimer clock;
    clock.start();
    for (std::size_t seen = 1; _left > 0; ++seen, --_left) {
        const std::size_t index = _next;
        _next = (_next + 1) % _count;
        if (_titleAt(index).startsWith(_prefix, Qt::CaseInsensitive)) {
            _slices.stop();
            Q_EMIT found(index);
            return;
        }
        if (seen % titlesPerClockReading == 0 && clock.hasExpired(sliceMilliseconds)) {
            --_left;
            _slices.start(0, this);
            return;
        }
    }
    _slices.stop();
}

}  // namespace platform
