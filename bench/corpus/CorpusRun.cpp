// SPDX-License-Identifier: GPL-3.0-or-later
#include "corpus/CorpusRun.h"

#include "platform/imaging/TileGrid.h"
#include "platform/PathBytes.h"

#include <QElapsedTimer>

#include <algorithm>
#include <filesystem>
#include <system_error>

using namespace platform;
using namespace std::chrono_literals;

namespace {

// The program's own; see ThumbnailMaker, ImageView, PictureTiles, PictureAnimation, ImageWindowController.
constexpr auto previewDeadline = 2s;
constexpr auto thumbnailDeadline = 15s;
constexpr auto pictureDeadline = 60s;
constexpr auto frameDeadline = 20s;
constexpr auto propertiesDeadline = 10s;

/// What an answer may take beyond its deadline: on a death a question is asked again, in the rare role too,
/// and a process is started for each, on a busy machine.
std::chrono::milliseconds patienceWith(std::chrono::milliseconds deadline) {
    return 3 * deadline + 10s;
}

constexpr int thumbnailSide = 256;
constexpr int mostFrames = 8;
constexpr int mostTiles = 4;  // of a level

Ending endingOf(const DecodeResult& result) {
    const auto* failure = std::get_if<DecodeFailure>(&result);
    if (!failure)
        return Ending::right;
    switch (failure->error) {
        case DecodeError::notImage:
        case DecodeError::damaged:
        case DecodeError::noPreview:
            return Ending::refused;
        case DecodeError::tooLarge:
            return Ending::memory;
        case DecodeError::timedOut:
            return Ending::deadline;
        case DecodeError::crashed:
            return Ending::crash;
        case DecodeError::badAnswer:
        case DecodeError::unavailable:
        case DecodeError::cancelled:
            break;
    }
    return Ending::fault;
}

ThumbnailJob jobFor(const QString& path) {
    ThumbnailJob job;
    job.request = {path, thumbnailSide};
    return job;
}

/// Whether a thumbnail's state is what the decoder's own answer makes one expect.
bool fits(Thumbnail::State state, Ending ending) {
    return ending == Ending::right ? state == Thumbnail::State::complete
                                   : state == Thumbnail::State::failed || state == Thumbnail::State::notImage;
}

}  // namespace

const char* nameOf(Question question) {
    constexpr std::array names{"preview", "thumbnail", "store", "picture", "tiles", "frames", "properties"};
    return names.at(static_cast<std::size_t>(question));
}

const char* nameOf(Ending ending) {
    constexpr std::array names{"ok", "clean error", "crash", "deadline", "memory", "FAULT"};
    return names.at(static_cast<std::size_t>(ending));
}

CorpusRun::CorpusRun(const QString& program)
    : _pictures(program, 1), _tiles(program, 1), _properties(program, 1), _maker(program, ThumbnailStore()) {
}

CorpusRun::Answered CorpusRun::askOne(DecodeThreads& threads, Question question, const QString& path,
                                      const DecodeRequest& request, std::chrono::milliseconds deadline) {
    QElapsedTimer timer;
    timer.start();
    DecodeTask task(threads, path, request, deadline);
    const bool isAnswered = task.waitFor(patienceWith(deadline));
    Answered answered{DecodeFailure{DecodeError::cancelled, QStringLiteral("no answer came")},
                      {path, question, Ending::fault, std::chrono::milliseconds(timer.elapsed()), {}}};
    if (isAnswered) {
        answered.result = task.takeResult();
        answered.answer.ending = endingOf(answered.result);
    }
    if (const auto* failure = std::get_if<DecodeFailure>(&answered.result))
        answered.answer.words = failure->message;
    return answered;
}

CorpusFile CorpusRun::ask(const QString& path) {
    CorpusFile file;
    const auto note = [&](Answered answered) {
        file.answers.push_back(std::move(answered.answer));
        return std::move(answered.result);
    };
    using Kind = DecodeRequest::Kind;
    note(askOne(_pictures, Question::preview, path, {Kind::embeddedPreview, -1, ThumbnailStore::largestSize},
                previewDeadline));
    note(askOne(_pictures, Question::thumbnail, path, {Kind::thumbnail, -1, thumbnailSide},
                thumbnailDeadline));
    file.answers.push_back(askThroughStore(path, file.answers.back().ending));
    auto whole =
        note(askOne(_pictures, Question::picture, path, {Kind::thumbnail, -1, pictureSide}, pictureDeadline));
    if (auto* picture = std::get_if<DecodedPicture>(&whole)) {
        askForTiles(file, path, picture->fullSize);
        askForFrames(file, path, picture->frameCount);
        file.picture = std::move(*picture);
    }
    auto properties =
        note(askOne(_properties, Question::properties, path, {Kind::properties, -1, 1}, propertiesDeadline));
    if (auto* found = std::get_if<DecodedProperties>(&properties))
        file.properties = std::move(found->properties);
    return file;
}

/// The middle of the picture at its own size, and all of it at a level where it fits into a few tiles.
void CorpusRun::askForTiles(CorpusFile& file, const QString& path, QSize size) {
    const TileGrid grid(size);
    int coarse = 0;
    while ((std::max(size.width(), size.height()) >> coarse) > 2 * TileGrid::tileSide)
        ++coarse;
    const QPoint middle(size.width() / 2, size.height() / 2);
    const QRect shown = QRect(QPoint(), QSize(1, 1) * TileGrid::tileSide).translated(middle);
    for (const int level : {0, coarse}) {
        auto places = grid.tilesIn(level == 0 ? QRectF(shown) : QRectF(QPointF(), QSizeF(size)), level);
        places.resize(std::min<std::size_t>(places.size(), mostTiles));
        DecodeRequest request;
        request.kind = DecodeRequest::Kind::region;
        request.level = level;
        for (const TilePlace& place : places)
            request.interest |= grid.areaOf(place);
        for (const TilePlace& place : places) {
            request.region = grid.areaOf(place);
            Answered answered = askOne(_tiles, Question::tiles, path, request, pictureDeadline);
            const auto* tile = std::get_if<DecodedPicture>(&answered.result);
            if (tile && tile->fullSize != size) {
                answered.answer.ending = Ending::fault;
                answered.answer.words = QStringLiteral("the tiles' picture has another size");
            }
            const bool isAlive =
                answered.answer.ending == Ending::right || answered.answer.ending == Ending::refused;
            file.answers.push_back(std::move(answered.answer));
            if (!isAlive)
                return;
        }
        if (coarse == 0)
            return;
    }
}

void CorpusRun::askForFrames(CorpusFile& file, const QString& path, int count) {
    for (int frame = 0; count > 1 && frame < std::min(count, mostFrames); ++frame) {
        DecodeRequest request;
        request.kind = DecodeRequest::Kind::frame;
        request.pixelSize = DecodeRequest::maximumPixelSize;
        request.frame = frame;
        Answered answered = askOne(_tiles, Question::frames, path, request, frameDeadline);
        const bool isRight = answered.answer.ending == Ending::right;
        file.answers.push_back(std::move(answered.answer));
        if (!isRight)
            return;
    }
}

/// Twice, with what the first time found written into the store: both times the same is to come, and what a
/// decoder alone answers.
CorpusAnswer CorpusRun::askThroughStore(const QString& path, Ending expected) {
    CorpusAnswer answer{path, Question::store, Ending::right, {}, {}};
    QElapsedTimer timer;
    timer.start();
    for (int round = 0; round < 2; ++round) {
        const auto outcome = _maker.work(jobFor(path));
        if (outcome.write)
            _maker.write(*outcome.write);
        const auto* entry = outcome.answer ? &outcome.answer->entry : nullptr;
        if (!entry || !fits(entry->thumbnail.state, expected) ||
            (entry->mayPass && expected != Ending::fault)) {
            answer.ending = Ending::fault;
            answer.words = QStringLiteral("the thumbnail's state contradicts the decoder's answer");
            break;
        }
        answer.ending = expected == Ending::right ? Ending::right : Ending::refused;
        answer.words = entry->thumbnail.failure;
    }
    answer.time = std::chrono::milliseconds(timer.elapsed());
    return answer;
}

std::vector<QString> filesBelow(const QString& folder) {
    std::vector<QString> paths;
    std::error_code error;
    using Iterator = std::filesystem::recursive_directory_iterator;
    const std::string start = bytesFromPath(folder).toStdString();
    for (auto entry = Iterator(start, error); !error && entry != Iterator(); entry.increment(error))
        if (!entry->is_directory(error))
            paths.push_back(pathFromBytes(QByteArray::fromStdString(entry->path().native())));
    std::ranges::sort(paths);
    return paths;
}
