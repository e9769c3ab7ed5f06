// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/imaging/DecoderProcess.h"
#include "platform/imaging/ThumbnailCache.h"
#include "platform/imaging/ThumbnailStore.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace platform {

/// What a worker is told to do about one wish: a value.
struct ThumbnailJob {
    enum class Effort {
        firstSight,  ///< what is quick: the version, the store, a preview; a small file's picture as well
        whole,       ///< all that is needed for the picture itself
    };
    ThumbnailRequest request;
    ThumbnailRank rank;
    Effort effort = Effort::whole;
    std::optional<FileVersion> atHand;  ///< the version shown already at this size: work only for another one
    bool wantsPreview = false;
    std::uint64_t checkFrom = 0;  ///< work begun for wishes before these may be about an older version
};

/// What is known of a wish after some work: a value.
struct ThumbnailAnswer {
    ThumbnailRequest request;
    ThumbnailRank rank;
    ThumbnailCache::Entry entry;  ///< with state unknown: the version at hand is still the file's
};

/// What is to go into the store, once there is time.
struct ThumbnailWrite {
    ThumbnailStore::Original original;
    QImage image;  ///< at storeSize; null for a failure
    int storeSize = 0;
    QSize fullSize;
    QString failure;

    std::size_t bytes() const { return static_cast<std::size_t>(image.sizeInBytes()) + sizeof(*this); }
};

/// Makes thumbnails on one worker's thread with one decoder process of its own: looks into the store, then
/// asks the decoder. Files are open only while work() runs. cancel() and forgetCancellation() alone may come
/// from another thread.
class ThumbnailMaker {
 public:
    struct Outcome {
        std::optional<ThumbnailAnswer> answer;
        std::optional<ThumbnailWrite> write;
        bool isUnfinished = false;  ///< the effort did not suffice, or the work was cancelled
    };

    ThumbnailMaker(const QString& decoderProgram, ThumbnailStore store);

    /// Starts the decoder of this kind, so that it is ready when the first work comes.
    void warmUp(DecodeRequest::Kind kind) { _decoder.warmUp(kind); }
    Outcome work(const ThumbnailJob& job);
    /// The answer where work() threw: a failure that says nothing of the file.
    static Outcome failed(const ThumbnailJob& job);
    void write(const ThumbnailWrite& write) const;
    /// Ends the work under way, which is then unfinished; and that begun later, until it is forgotten.
    void cancel() { _decoder.cancel(); }
    void forgetCancellation() { _decoder.forgetCancellation(); }

 private:
    struct OpenFile;

    DecodeResult decode(DecodeRequest::Kind kind, int descriptor, int pixelSize,
                        std::chrono::milliseconds deadline);
    std::optional<ThumbnailCache::Entry> fromStore(const OpenFile& file, int pixelSize);
    std::optional<ThumbnailCache::Entry> previewOf(const OpenFile& file);
    Outcome fromDecoder(const ThumbnailJob& job, const OpenFile& file);

    DecoderProcess _decoder;
    ThumbnailStore _store;
};

}  // namespace platform
