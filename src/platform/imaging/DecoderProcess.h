// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/PropertyValue.h"
#include "platform/ScopedFileDescriptor.h"

#include <QByteArray>
#include <QHash>
#include <QImage>
#include <QRect>
#include <QSize>
#include <QString>

#include <chrono>
#include <cstdint>
#include <memory>
#include <variant>

namespace platform {

/// Why there is no picture.
enum class DecodeError : std::uint8_t {
    notImage,     ///< the content is none of the known picture formats
    damaged,      ///< a picture format, but the loader refused the content
    tooLarge,     ///< decoding would pass the decoder's memory limit
    timedOut,     ///< the deadline passed; the decoder was killed
    crashed,      ///< the decoder died twice on this request
    badAnswer,    ///< the answer broke the protocol (size, stride, seals)
    noPreview,    ///< an embedded preview was asked for and there is none
    unavailable,  ///< no decoder could be started
    cancelled,    ///< cancel() was called
};

struct DecodeFailure {
    DecodeError error = DecodeError::damaged;
    QString message;  ///< the loader's own words, untrusted plain text
};

/// A picture: upright, sRGB. A large one stays in sealed shared memory, which lives as long as the image or a
/// shallow copy of it; writing to the image copies it first.
struct DecodedPicture {
    QImage image;
    QSize fullSize;                      ///< the upright size of the whole picture in pixels
    int frameCount = 1;                  ///< over 1 for an animation
    std::chrono::milliseconds delay{0};  ///< of a frame, as the file has it
    int loops = 0;                       ///< of a frame: how often all are shown again, -1 for ever
    QHash<QByteArray, QByteArray>
        texts;  ///< text chunks of a PNG ("Thumb::MTime", "Thumb::URI"), at most 32 of 4 KiB
};

/// What was asked for with Kind::properties: untrusted, but bounded and without control characters.
struct DecodedProperties {
    PropertyDictionary properties;  ///< in the file's order; "{IPTC}" and "{Exif}" are dictionaries in it
};

using DecodeResult = std::variant<DecodedPicture, DecodedProperties, DecodeFailure>;

/// What is asked of a decoder: a value; the descriptor is borrowed for the length of the call.
struct DecodeRequest {
    enum class Kind : std::uint8_t {
        thumbnail,        ///< the whole picture, its longer side at most pixelSize, never enlarged
        embeddedPreview,  ///< the preview inside the file's head (EXIF), at its own size; fast
        storedThumbnail,  ///< a PNG of the thumbnail store with its text chunks, at its own size
        properties,       ///< the metadata; no pixels
        region,           ///< a part of the picture at a level, with the size of the whole
        frame,            ///< one of an animation's pictures, at its own size
    };
    static constexpr int maximumPixelSize = 8192;

    Kind kind = Kind::thumbnail;
    int descriptor = -1;  ///< of a regular file, open for reading
    int pixelSize = 256;  ///< device pixels, 1 to maximumPixelSize
    /// Of a region: the answer's sides are 2^level-ths of it, rounded up, and at most 2048; its left and top
    /// are multiples of 2^level.
    int level = 0;
    QRect region = {};    ///< in pixels of the whole picture, upright
    QRect interest = {};  ///< holds it, and what will be asked for soon: a decoder may read it in one pass
    int frame = 0;        ///< of an animation, from 0; cheap in their order
};

/// A tavlin-decoder process for each role that is asked, and their supervision: started at the first request,
/// killed when a deadline passes, started again when it has died, and a request on which it died is tried
/// once more in a fresh process. One that has served thousands of requests or has grown large is replaced
/// between two of them; where all die one after the other, none is started for a while (DecoderHealth.h).
/// Used by one thread at a time (each worker owns one); cancel() alone may come from another thread. A
/// decoder dies with the thread that started it; another thread's next request starts a new one.
///
/// There are several roles: the common decoder serves the everyday formats, a second one, started when the
/// common one asks for it, those whose libraries cost more at the start (HEIC, AVIF, JPEG XL, SVG); metadata
/// and the shared store's thumbnails have one each.
class DecoderProcess {
 public:
    /// The tavlin-decoder executable that belongs to this program; set once, before the first decoder.
    static void setInstalledProgram(const QString& program);
    static const QString& installedProgram();

    /// `program`: the path of the tavlin-decoder executable.
    explicit DecoderProcess(QString program);
    ~DecoderProcess();
    DecoderProcess(const DecoderProcess&) = delete;
    DecoderProcess& operator=(const DecoderProcess&) = delete;

    /// Blocks until the answer or the deadline (which counts for each try).
    DecodeResult decode(const DecodeRequest& request, std::chrono::milliseconds deadline);
    /// Starts the decoder that serves this kind, so that it is ready when the first request comes; waits for
    /// nothing.
    void warmUp(DecodeRequest::Kind kind);
    /// Ends a decode() under way with `cancelled` (the process is killed), and every later one as well, until
    /// forgetCancellation(). Any thread, both: a piece of work of several decodes begins by forgetting what
    /// was meant for the one before it, so that no cancellation between two of them is lost.
    void cancel();
    void forgetCancellation();
    /// The process id of the common decoder, 0 when none runs. Any thread.
    int processId() const;

 private:
    struct Private;
    std::unique_ptr<Private> _d;
};

}  // namespace platform
