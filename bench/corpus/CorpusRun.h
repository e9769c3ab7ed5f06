// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/imaging/DecodeThreads.h"
#include "platform/imaging/ThumbnailMaker.h"

#include <QString>

#include <array>
#include <chrono>
#include <optional>
#include <vector>

/// What the program asks about a picture file.
enum class Question : std::uint8_t { preview, thumbnail, store, picture, tiles, frames, properties };
inline constexpr std::array kQuestions{Question::preview,   Question::thumbnail, Question::store,
                                       Question::picture,   Question::tiles,     Question::frames,
                                       Question::properties};
const char* nameOf(Question question);

/// How a question was answered. All but `fault` are a decoder's doings, which the program lives with.
enum class Ending : std::uint8_t {
    right,     ///< with what was asked for
    refused,   ///< with a clean error: no picture, damaged, no preview
    crash,     ///< the decoder died on it, twice
    deadline,  ///< the decoder was stopped at its deadline
    memory,    ///< the picture would have passed the decoder's bounds
    fault,     ///< the supervising side failed: no answer in time, an answer that breaks the protocol,
               ///< answers that contradict one another
};
inline constexpr std::array kEndings{Ending::right,    Ending::refused, Ending::crash,
                                     Ending::deadline, Ending::memory,  Ending::fault};
const char* nameOf(Ending ending);

struct CorpusAnswer {
    QString path;
    Question question = Question::thumbnail;
    Ending ending = Ending::right;
    std::chrono::milliseconds time{0};
    QString words;  ///< of a failure
};

/// What came of one file.
struct CorpusFile {
    std::optional<platform::DecodedPicture> picture;  ///< at most `pictureSide` wide and high
    std::optional<platform::PropertyDictionary> properties;
    std::vector<CorpusAnswer> answers;
};

/// Asks the decoders all that the program would ask about a file, with the program's own client side and its
/// deadlines: what a grid wants (preview, thumbnail, store), what an image window wants (picture, tiles of
/// several levels, the first frames of an animation) and the metadata. One thread; decoders are kept from
/// file to file, as in the program.
class CorpusRun {
 public:
    static constexpr int pictureSide = 2048;

    explicit CorpusRun(const QString& decoderProgram);

    /// Blocks until all is answered.
    CorpusFile ask(const QString& path);

 private:
    struct Answered {
        platform::DecodeResult result;
        CorpusAnswer answer;
    };

    Answered askOne(platform::DecodeThreads& threads, Question question, const QString& path,
                    const platform::DecodeRequest& request, std::chrono::milliseconds deadline);
    void askForTiles(CorpusFile& file, const QString& path, QSize size);
    void askForFrames(CorpusFile& file, const QString& path, int count);
    CorpusAnswer askThroughStore(const QString& path, Ending expected);

    platform::DecodeThreads _pictures;
    platform::DecodeThreads _tiles;
    platform::DecodeThreads _properties;
    platform::ThumbnailMaker _maker;
};

/// The files of a folder and all below it, whatever they are, in the order of their paths.
std::vector<QString> filesBelow(const QString& folder);
