// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/DecoderProcess.h"

#include "decoder/protocol/Protocol.h"
#include "decoder/protocol/SocketMessage.h"
#include "platform/imaging/ChildProcess.h"
#include "platform/imaging/DecoderAnswers.h"
#include "platform/imaging/DecoderHealth.h"
#include "platform/PathBytes.h"

#include <QLoggingCategory>

#include <linux/sockios.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <optional>

Q_LOGGING_CATEGORY(decoderLog, "tavlin.decoder", QtWarningMsg)

namespace platform {

static_assert(DecodeRequest::maximumPixelSize == decoder::kMaximumPixelSize);

namespace {

using Clock = std::chrono::steady_clock;
using decoder::Response;
using decoder::Role;
using decoder::Status;

/// In which a decoder that is ready reads a request; it takes microseconds.
constexpr std::chrono::seconds kPatienceWithTaking(2);

// After which a process gives way to a fresh one: libraries lose memory, and whatever a picture may have done
// to it ends with it.
constexpr int kMostRequests = 1000;
constexpr std::uint64_t kMostMemory = std::uint64_t{256} << 20;  // bytes in memory between two pictures
constexpr int kRequestsBetweenLooks = 16;                        // at the memory

/// Says once in the program's life what its decoders of this role are held by.
void tellOf(decoder::Protections held, Role role) {
    static std::array<std::once_flag, decoder::kRoles> said;  // by role
    std::call_once(said[static_cast<std::size_t>(role)], [held, name = decoder::roleName(role)] {
        if ((held & decoder::kAllProtections) == decoder::kAllProtections)
            qCInfo(decoderLog, "the decoders (%s) are behind bars: Landlock and seccomp hold them", name);
        else if ((held & decoder::kSystemCallFilter) != 0)
            qCWarning(decoderLog, "no Landlock here: seccomp alone holds the decoders (%s)", name);
        else if ((held & decoder::kFileRights) != 0)
            qCWarning(decoderLog, "no seccomp here: Landlock alone holds the decoders (%s)", name);
        else
            qCWarning(decoderLog,
                      "neither Landlock nor seccomp holds the decoders (%s): they are but processes apart",
                      name);
    });
}

Role roleOf(DecodeRequest::Kind kind) {
    switch (kind) {
        case DecodeRequest::Kind::properties:
            return Role::properties;
        case DecodeRequest::Kind::storedThumbnail:
            return Role::stored;
        default:
            return Role::common;
    }
}

/// The one to be asked where this one cannot; nothing where none can.
std::optional<Role> nextRole(Role role) {
    if (role == Role::stored)
        return Role::common;
    return role == Role::common ? std::optional(Role::rare) : std::nullopt;
}

QString senselessAnswer() {
    return QStringLiteral("the decoder's answer made no sense");
}

DecodeFailure failure(DecodeError error, const QString& message = QString()) {
    return DecodeFailure{error, message};
}

}  // namespace

struct DecoderProcess::Private {
    /// How one try ended that brought no answer. A decoder that never was ready is not the picture's fault.
    /// Nor is one that did not even take the request.
    enum class Trouble { died, neverReady, notTaken, timedOut, broken, cancelled, notStarted };
    struct Answer {
        Response response;
        ScopedFileDescriptor memory;
    };
    using Outcome = std::variant<Answer, Trouble>;

    /// One process of one role; `ready` once it has said so.
    struct Worker {
        std::unique_ptr<ChildProcess> child;
        bool ready = false;
        int requests = 0;
    };

    explicit Private(QString programPath)
        : program(std::move(programPath)),
          health(DecoderHealth::of(program)),
          cancelled(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

    Worker& worker(Role role) { return workers[static_cast<std::size_t>(role)]; }
    void end(Role role) {
        worker(role) = Worker();
        if (role == Role::common)
            commonProcessId = 0;
    }
    bool start(Role role);
    bool hasStrayed(Role role);
    bool isWorn(const Worker& worker) const;
    void renewWhereWorn(Role role, DecodeRequest::Kind kind);
    DecodeResult decode(const DecodeRequest& request, std::chrono::milliseconds deadline);
    void note(std::optional<Trouble> trouble);
    DecodeFailure verdict(Trouble trouble) const;
    bool isCancelled() const;
    Outcome ask(Role role, const DecodeRequest& request, std::chrono::milliseconds deadline);
    Outcome awaitAnswer(Worker& worker, std::uint64_t id, Clock::time_point end);
    std::optional<Trouble> awaitMessage(const Worker& worker, Clock::time_point end) const;
    std::optional<Trouble> awaitTaking(const Worker& worker) const;
    DecodeResult result(const Answer& answer, const DecodeRequest& request, Role role);

    const QString program;
    DecoderHealth& health;
    const ScopedFileDescriptor cancelled;         // an event: cancel() was called
    std::array<Worker, decoder::kRoles> workers;  // by role
    std::atomic<int> commonProcessId = 0;
    std::uint64_t lastId = 0;
};

bool DecoderProcess::Private::start(Role role) {
    Worker& it = worker(role);
    if (it.child && hasStrayed(role))
        end(role);
    if (it.child)
        return true;
    if (!health.mayStart())
        return false;
    it.child = ChildProcess::start(bytesFromPath(program), {"--role", decoder::roleName(role)},
                                   decoder::kSocketDescriptor);
    if (!it.child) {
        qCWarning(decoderLog, "%s cannot be started: %s", qUtf8Printable(program), std::strerror(errno));
        health.noteFailedStart();
        return false;
    }
    if (role == Role::common)
        commonProcessId = it.child->processId();
    return true;
}

/// A decoder that went while nothing was asked of it, or talks unasked: no request's fault.
bool DecoderProcess::Private::hasStrayed(Role role) {
    const Worker& it = worker(role);
    pollfd socket{it.child->socket(), POLLIN, 0};
    const short strayed = it.ready ? POLLHUP | POLLERR | POLLIN : POLLHUP | POLLERR;
    return ::poll(&socket, 1, 0) > 0 && (socket.revents & strayed) != 0;
}

bool DecoderProcess::Private::isWorn(const Worker& worker) const {
    if (worker.requests >= kMostRequests)
        return true;
    return worker.requests % kRequestsBetweenLooks == 0 && worker.child->residentBytes() > kMostMemory;
}

/// The next one starts at once, so that it is ready when it is needed. Those that keep a picture for further
/// pieces of it may be as large as that is.
void DecoderProcess::Private::renewWhereWorn(Role role, DecodeRequest::Kind kind) {
    if (kind == DecodeRequest::Kind::region || kind == DecodeRequest::Kind::frame)
        return;
    Worker& it = worker(role);
    if (!it.child)
        return;
    ++it.requests;
    if (!isWorn(it))
        return;
    end(role);
    start(role);
}

bool DecoderProcess::Private::isCancelled() const {
    pollfd event{cancelled.get(), POLLIN, 0};
    return ::poll(&event, 1, 0) > 0;
}

/// Nothing once a decoder that was idle has read the request, or has anything to say. It is quick unless it
/// has been stopped or hangs: the answer is not waited for then, as that would be held against the picture.
std::optional<DecoderProcess::Private::Trouble> DecoderProcess::Private::awaitTaking(
    const Worker& worker) const {
    const auto trouble = awaitMessage(worker, Clock::now() + kPatienceWithTaking);
    if (trouble != Trouble::timedOut)
        return trouble;
    int unread = 0;
    return ::ioctl(worker.child->socket(), SIOCOUTQ, &unread) == 0 && unread > 0
               ? std::optional(Trouble::notTaken)
               : std::nullopt;
}

/// Nothing once a message (or the end of the connection) can be received.
std::optional<DecoderProcess::Private::Trouble> DecoderProcess::Private::awaitMessage(
    const Worker& worker, Clock::time_point end) const {
    while (true) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        std::array<pollfd, 2> waited{pollfd{worker.child->socket(), POLLIN, 0},
                                     pollfd{cancelled.get(), POLLIN, 0}};
        const int count = ::poll(waited.data(), waited.size(),
                                 static_cast<int>(std::clamp<decltype(left)>(left, 0, 1 << 30)));
        if (count < 0 && errno != EINTR)
            return Trouble::broken;
        if (count > 0 && waited[1].revents != 0)
            return Trouble::cancelled;
        if (count > 0)
            return std::nullopt;
        if (Clock::now() >= end)
            return worker.ready ? Trouble::timedOut : Trouble::notStarted;
    }
}

DecoderProcess::Private::Outcome DecoderProcess::Private::awaitAnswer(Worker& worker, std::uint64_t id,
                                                                      Clock::time_point end) {
    while (true) {
        if (const auto trouble = awaitMessage(worker, end))
            return *trouble;
        Answer answer;
        auto received = decoder::receiveMessage(worker.child->socket(), &answer.response,
                                                sizeof answer.response, decoder::Waiting::no);
        if (received.state == decoder::ReceivedMessage::State::closed)
            return worker.ready ? Trouble::died : Trouble::neverReady;
        if (received.state == decoder::ReceivedMessage::State::nothingYet)
            continue;
        const bool whole = received.state == decoder::ReceivedMessage::State::message;
        const std::uint64_t expectedId = worker.ready ? id : 0;
        if (!whole || !decoder::isResponseTo(answer.response, received.size, expectedId) ||
            (answer.response.status == Status::ready) == worker.ready)
            return Trouble::broken;
        if (worker.ready) {
            answer.memory = std::move(received.descriptor);
            return answer;
        }
        worker.ready = true;
        tellOf(answer.response.protections, static_cast<Role>(&worker - workers.data()));
    }
}

DecoderProcess::Private::Outcome DecoderProcess::Private::ask(Role role, const DecodeRequest& request,
                                                              std::chrono::milliseconds deadline) {
    if (!start(role))
        return Trouble::notStarted;
    decoder::Request message = messageOf(request);
    message.id = ++lastId;
    Worker& asked = worker(role);
    const auto end = Clock::now() + deadline;
    if (!decoder::sendMessage(asked.child->socket(), &message, sizeof message, request.descriptor,
                              decoder::Waiting::no))
        return asked.ready ? Trouble::died : Trouble::neverReady;
    if (asked.ready && deadline > kPatienceWithTaking)
        if (const auto trouble = awaitTaking(asked))
            return *trouble;
    return awaitAnswer(asked, message.id, end);
}

DecodeResult DecoderProcess::Private::result(const Answer& answer, const DecodeRequest& request, Role role) {
    const bool anySize = request.kind != DecodeRequest::Kind::thumbnail;
    const bool asksProperties = request.kind == DecodeRequest::Kind::properties;
    switch (answer.response.status) {
        case Status::picture:
            if (asksProperties || !isAsAsked(answer.response, request))
                break;
            if (auto picture = pictureOf(answer.response, answer.memory.get(),
                                         anySize ? decoder::kMaximumPixelSize : request.pixelSize))
                return *picture;
            break;
        case Status::notImage:
            return failure(DecodeError::notImage, loaderMessage(answer.response));
        case Status::damaged:
            return failure(DecodeError::damaged, loaderMessage(answer.response));
        case Status::tooLarge:
            return failure(DecodeError::tooLarge, loaderMessage(answer.response));
        case Status::noPreview:
            return failure(DecodeError::noPreview, loaderMessage(answer.response));
        case Status::properties:
            if (!asksProperties)
                break;
            if (auto properties = propertiesOf(answer.response, answer.memory.get()))
                return std::move(*properties);
            break;
        case Status::ready:
        case Status::otherRole:
            break;
    }
    end(role);
    return failure(DecodeError::badAnswer, senselessAnswer());
}

DecodeResult DecoderProcess::Private::decode(const DecodeRequest& request,
                                             std::chrono::milliseconds deadline) {
    Role role = roleOf(request.kind);
    int deaths = 0;
    int failedStarts = 0;
    while (true) {
        const auto outcome = ask(role, request, deadline);
        if (const auto* answer = std::get_if<Answer>(&outcome)) {
            const auto next = answer->response.status == Status::otherRole ? nextRole(role) : std::nullopt;
            if (next) {
                renewWhereWorn(role, request.kind);
                note(std::nullopt);
                role = *next;
                continue;
            }
            DecodeResult decoded = result(*answer, request, role);
            renewWhereWorn(role, request.kind);
            const auto* failed = std::get_if<DecodeFailure>(&decoded);
            note(failed && failed->error == DecodeError::badAnswer ? Trouble::broken
                                                                   : std::optional<Trouble>());
            return decoded;
        }
        const auto trouble = std::get<Trouble>(outcome);
        if (worker(role).child)
            note(trouble);
        end(role);
        // Another try, in a fresh process: few pictures kill twice, what comes may have been meant for the
        // request before, and one killed at its start, or stopped, says nothing of the next.
        const bool mayTryAgain =
            ((trouble == Trouble::died || trouble == Trouble::broken) && ++deaths < 2) ||
            ((trouble == Trouble::neverReady || trouble == Trouble::notTaken) && ++failedStarts < 2);
        if (!mayTryAgain)
            return verdict(trouble);
    }
}

/// For the health of all. A picture that takes too long, or is withdrawn, says nothing of it.
void DecoderProcess::Private::note(std::optional<Trouble> trouble) {
    if (!trouble)
        health.noteAnswer();
    else if (*trouble == Trouble::died || *trouble == Trouble::broken)
        health.noteDeath();
    else if (*trouble == Trouble::neverReady || *trouble == Trouble::notStarted)
        health.noteFailedStart();
}

/// What the last trouble means for the picture.
DecodeFailure DecoderProcess::Private::verdict(Trouble trouble) const {
    switch (trouble) {
        case Trouble::died:
            if (!health.isIll())
                return failure(DecodeError::crashed, QStringLiteral("the decoder crashed"));
            break;
        case Trouble::timedOut:
            return failure(DecodeError::timedOut, QStringLiteral("decoding took too long"));
        case Trouble::broken:
            return failure(DecodeError::badAnswer, senselessAnswer());
        case Trouble::cancelled:
            return failure(DecodeError::cancelled);
        case Trouble::neverReady:
        case Trouble::notTaken:
        case Trouble::notStarted:
            break;
    }
    return failure(DecodeError::unavailable, QStringLiteral("no decoder could be started"));
}

namespace {

QString& programSetting() {
    static QString program;
    return program;
}

}  // namespace

void DecoderProcess::setInstalledProgram(const QString& program) {
    programSetting() = program;
}

const QString& DecoderProcess::installedProgram() {
    return programSetting();
}

DecoderProcess::DecoderProcess(QString program) : _d(std::make_unique<Private>(std::move(program))) {
}

DecoderProcess::~DecoderProcess() = default;

DecodeResult DecoderProcess::decode(const DecodeRequest& request, std::chrono::milliseconds deadline) {
    if (!isSane(request))
        return failure(DecodeError::damaged, QStringLiteral("no picture can be asked for like this"));
    if (_d->isCancelled())
        return failure(DecodeError::cancelled);
    return _d->decode(request, deadline);
}

void DecoderProcess::warmUp(DecodeRequest::Kind kind) {
    _d->start(roleOf(kind));
}

void DecoderProcess::cancel() {
    ::eventfd_write(_d->cancelled.get(), 1);
}

void DecoderProcess::forgetCancellation() {
    eventfd_t count = 0;
    ::eventfd_read(_d->cancelled.get(), &count);
}

int DecoderProcess::processId() const {
    return _d->commonProcessId;
}

}  // namespace platform
