// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/imaging/DecoderProcess.h"

#include <QObject>
#include <QString>

#include <chrono>
#include <memory>
#include <vector>

namespace platform {

/// A few threads with a decoder each, which serve whoever asks, in the order of asking. Called on the main
/// thread. The destructor stops the decoders and joins; only a thread that hangs in a system call (a dead
/// network volume) is left behind after a second, with nothing of ours but its own shared state. While the
/// system has no thread at all, questions are answered with DecodeError::unavailable.
class DecodeThreads {
 public:
    DecodeThreads(const QString& decoderProgram, std::size_t threads);
    ~DecodeThreads();
    DecodeThreads(const DecodeThreads&) = delete;
    DecodeThreads& operator=(const DecodeThreads&) = delete;

    /// Those that all image windows share: two for pictures, one for properties, one for prints, which wait
    /// for no other. Made at first use, after DecoderProcess::setInstalledProgram(); ended at the program's
    /// exit.
    static DecodeThreads& pictures();
    static DecodeThreads& properties();
    static DecodeThreads& printing();
    /// The one that serves this file's tiles: always the same, as its decoder keeps what it has decoded of
    /// the picture. There are two, of one thread each.
    static DecodeThreads& tiles(const QString& path);

    /// All there are let go of the files below the folder: questions about them are answered with
    /// DecodeError::cancelled. Returns when none of the files is open any more, at the latest at the
    /// deadline.
    static void releaseFilesBelow(const QString& folder, std::chrono::steady_clock::time_point deadline);

 private:
    friend class DecodeTask;
    struct Job;
    struct Shared;
    void startMissing();
    void post(const std::shared_ptr<Job>& job);
    void dropBelow(const QString& folder);
    void waitUntilNoneRunsBelow(const QString& folder, std::chrono::steady_clock::time_point deadline);
    static std::vector<DecodeThreads*>& all();

    const QString _program;
    const std::size_t _wanted;
    bool _lacksThreads = false;  ///< which has been told
    std::shared_ptr<Shared> _shared;
};

/// One question to a decoder about the file at a path. The file is opened on the thread that serves it.
/// Destroying the task withdraws the question: work that has begun on it is cancelled. Main thread only.
class DecodeTask : public QObject {
    Q_OBJECT

 public:
    /// `request`'s descriptor is not used. `deadline` bounds the decoding, counted from its begin.
    DecodeTask(DecodeThreads& threads, const QString& path, const DecodeRequest& request,
               std::chrono::milliseconds deadline, QObject* parent = nullptr);
    ~DecodeTask() override;

    /// Blocks until the answer is there, at most this long; answers whether it is.
    bool waitFor(std::chrono::milliseconds patience);
    /// Whether the answer is there.
    bool isFinished() const;
    /// The answer, which is thereby handed over; call once, when there is one.
    DecodeResult takeResult();

 Q_SIGNALS:
    /// The answer is there. Said once, from the event loop, also when waitFor() has seen it before.
    void finished();

 private:
    std::shared_ptr<DecodeThreads::Job> _job;
};

}  // namespace platform
