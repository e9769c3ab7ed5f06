// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/ThumbnailMaker.h"

#include "platform/FileAccess.h"
#include "platform/imaging/PictureNames.h"
#include "platform/PathBytes.h"

#include <algorithm>

namespace platform {

namespace {

using namespace std::chrono_literals;

constexpr auto pictureDeadline = 15s;
constexpr auto storedDeadline = 3s;
constexpr auto previewDeadline = 2s;

/// Below this many bytes the picture itself comes about as soon as its preview would.
constexpr std::uint64_t smallFile = std::uint64_t{128} << 10;

FileVersion versionOf(const FileStatus& status) {
    return {status.modificationNanoseconds, status.size};
}

int longerSide(QSize size) {
    return std::max(size.width(), size.height());
}

/// A copy of its own (decoded pictures hold on to a mapping each), at most `pixelSize` wide and high, in a
/// format that is painted without conversion.
QImage fitted(const QImage& image, int pixelSize) {
    const QImage::Format format =
        image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32;
    if (longerSide(image.size()) <= pixelSize)
        return image.format() == format ? image.copy() : image.convertToFormat(format);
    const QSize size = image.size().scaled(pixelSize, pixelSize, Qt::KeepAspectRatio);
    return image.convertToFormat(format).scaled(size.expandedTo(QSize(1, 1)), Qt::IgnoreAspectRatio,
                                                Qt::SmoothTransformation);
}

/// Whether the failure is the file's own, so that another try would fail as well.
bool isFilesOwn(DecodeError error) {
    return error == DecodeError::damaged || error == DecodeError::tooLarge ||
           error == DecodeError::timedOut || error == DecodeError::crashed || error == DecodeError::notImage;
}

/// The loader's own words; where it has none, what happened.
QString reasonOf(const DecodeFailure& failure) {
    if (!failure.message.isEmpty())
        return failure.message;
    switch (failure.error) {
        case DecodeError::notImage:
            return QStringLiteral("the file holds no picture, whatever its name says");
        case DecodeError::tooLarge:
            return QStringLiteral("the picture needs too much memory");
        default:
            return QStringLiteral("the picture could not be decoded");
    }
}

ThumbnailCache::Entry entryOf(Thumbnail::State state, const FileVersion& version, int pixelSize) {
    ThumbnailCache::Entry entry;
    entry.thumbnail.state = state;
    entry.version = version;
    entry.pixelSize = pixelSize;
    return entry;
}

/// What is no file that can be opened is no picture; a link that leads to nothing is broken.
ThumbnailCache::Entry unopenedEntry(const QString& path, int pixelSize) {
    const auto own = fileStatus(path, FollowLinks::no);
    const bool leadsNowhere = own && own->kind == EntryKind::link && !fileStatus(path);
    auto entry = entryOf(leadsNowhere ? Thumbnail::State::failed : Thumbnail::State::notImage, {}, pixelSize);
    if (leadsNowhere)
        entry.thumbnail.failure = QStringLiteral("the link leads to nothing");
    return entry;
}

ThumbnailMaker::Outcome answered(const ThumbnailJob& job, ThumbnailCache::Entry entry) {
    ThumbnailMaker::Outcome outcome;
    outcome.answer = ThumbnailAnswer{job.request, job.rank, std::move(entry)};
    return outcome;
}

}  // namespace

struct ThumbnailMaker::OpenFile {
    ScopedFileDescriptor descriptor;
    FileVersion version;
    std::optional<ThumbnailStore::Original> original;
};

ThumbnailMaker::ThumbnailMaker(const QString& decoderProgram, ThumbnailStore store)
    : _decoder(decoderProgram), _store(std::move(store)) {
}

ThumbnailMaker::Outcome ThumbnailMaker::work(const ThumbnailJob& job) {
    const int pixelSize = job.request.pixelSize;
    if (job.atHand) {
        const auto status = fileStatus(job.request.path);
        if (status && versionOf(*status) == *job.atHand)
            return answered(job, entryOf(Thumbnail::State::unknown, *job.atHand, pixelSize));
    }
    OpenFile file{openRegularFile(job.request.path), {}, {}};
    const auto status =
        file.descriptor.isValid() ? fileStatusOfDescriptor(file.descriptor.get()) : std::nullopt;
    if (!status)
        return answered(job, unopenedEntry(job.request.path, pixelSize));
    file.version = versionOf(*status);
    file.original = _store.originalOf(job.request.path, file.descriptor.get());
    if (auto stored = fromStore(file, pixelSize))
        return answered(job, std::move(*stored));
    if (job.effort == ThumbnailJob::Effort::whole || status->size <= smallFile)
        return fromDecoder(job, file);
    Outcome outcome;
    if (job.wantsPreview)
        if (auto preview = previewOf(file))
            outcome = answered(job, std::move(*preview));
    outcome.isUnfinished = true;
    return outcome;
}

ThumbnailMaker::Outcome ThumbnailMaker::failed(const ThumbnailJob& job) {
    auto entry = entryOf(Thumbnail::State::failed, {}, job.request.pixelSize);
    entry.thumbnail.failure = reasonOf(DecodeFailure{});
    entry.mayPass = true;
    return answered(job, std::move(entry));
}

DecodeResult ThumbnailMaker::decode(DecodeRequest::Kind kind, int descriptor, int pixelSize,
                                    std::chrono::milliseconds deadline) {
    DecodeRequest request;
    request.kind = kind;
    request.descriptor = descriptor;
    request.pixelSize = pixelSize;
    return _decoder.decode(request, deadline);
}

std::optional<ThumbnailCache::Entry> ThumbnailMaker::fromStore(const OpenFile& file, int pixelSize) {
    if (!file.original)
        return std::nullopt;
    const auto reader = [this](int descriptor) {
        return decode(DecodeRequest::Kind::storedThumbnail, descriptor, ThumbnailStore::largestSize,
                      storedDeadline);
    };
    if (const auto stored = _store.find(*file.original, pixelSize, reader)) {
        auto entry = entryOf(Thumbnail::State::complete, file.version, pixelSize);
        entry.thumbnail.image = fitted(stored->image, pixelSize);
        entry.isWhole = stored->isWhole && longerSide(stored->image.size()) <= pixelSize;
        return entry;
    }
    if (const auto failure = _store.findFailure(*file.original, reader)) {
        auto entry = entryOf(Thumbnail::State::failed, file.version, pixelSize);
        entry.thumbnail.failure = *failure;
        return entry;
    }
    return std::nullopt;
}

std::optional<ThumbnailCache::Entry> ThumbnailMaker::previewOf(const OpenFile& file) {
    const DecodeResult result = decode(DecodeRequest::Kind::embeddedPreview, file.descriptor.get(),
                                       ThumbnailStore::largestSize, previewDeadline);
    const auto* picture = std::get_if<DecodedPicture>(&result);
    if (!picture || picture->image.isNull())
        return std::nullopt;
    auto entry = entryOf(Thumbnail::State::preview, file.version, longerSide(picture->image.size()));
    entry.thumbnail.image = fitted(picture->image, entry.pixelSize);
    return entry;
}

ThumbnailMaker::Outcome ThumbnailMaker::fromDecoder(const ThumbnailJob& job, const OpenFile& file) {
    const int pixelSize = job.request.pixelSize;
    const int decodedSize = std::max(pixelSize, ThumbnailStore::storedSize(pixelSize));
    const DecodeResult result =
        decode(DecodeRequest::Kind::thumbnail, file.descriptor.get(), decodedSize, pictureDeadline);
    const auto now = fileStatusOfDescriptor(file.descriptor.get());
    const bool isSame = now && versionOf(*now) == file.version;

    if (const auto* picture = std::get_if<DecodedPicture>(&result)) {
        auto entry = entryOf(Thumbnail::State::complete, file.version, pixelSize);
        const QImage image = fitted(picture->image, decodedSize);
        entry.thumbnail.image = pixelSize < longerSide(image.size()) ? fitted(image, pixelSize) : image;
        entry.isWhole = longerSide(picture->fullSize) <= pixelSize;
        Outcome outcome = answered(job, std::move(entry));
        if (file.original && isSame && decodedSize <= ThumbnailStore::largestSize)
            outcome.write = ThumbnailWrite{*file.original, image, decodedSize, picture->fullSize, {}};
        return outcome;
    }

    const auto& failure = std::get<DecodeFailure>(result);
    if (failure.error == DecodeError::cancelled)
        return Outcome{{}, {}, true};
    // What is named as a picture and holds none is as broken as one with a damaged content.
    const bool isNone = failure.error == DecodeError::notImage &&
                        kindByName(lastPathComponent(job.request.path)) != NamedKind::picture;
    auto entry =
        entryOf(isNone ? Thumbnail::State::notImage : Thumbnail::State::failed, file.version, pixelSize);
    entry.thumbnail.failure = isNone ? QString() : reasonOf(failure);
    entry.mayPass = !isNone && !isFilesOwn(failure.error);
    entry.isUnasked = failure.error == DecodeError::unavailable;
    Outcome outcome = answered(job, std::move(entry));
    if (file.original && isSame && !isNone && isFilesOwn(failure.error))
        outcome.write = ThumbnailWrite{*file.original, {}, 0, {}, reasonOf(failure)};
    return outcome;
}

void ThumbnailMaker::write(const ThumbnailWrite& write) const {
    if (write.image.isNull())
        _store.saveFailure(write.original, write.failure);
    else
        _store.save(write.original, write.storeSize, write.image, write.fullSize);
}

}  // namespace platform
