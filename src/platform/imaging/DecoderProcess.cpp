// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/DecoderProcess.h"

#include "decoder/protocol/PackedProperties.h"
#include "decoder/protocol/Protocol.h"
#include "decoder/protocol/SocketMessage.h"
#include "platform/imaging/ChildProcess.h"
#include "platform/PathBytes.h"

#include <QLoggingCategory>

#include <linux/sockios.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
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

/// A picture of fewer bytes is copied, as a mapping costs the process one of its 65,530.
constexpr std::uint64_t kSmallestMapping = 1 << 16;

/// In which a decoder that is ready reads a request; it takes microseconds.
constexpr std::chrono::seconds kPatienceWithTaking(2);

/// Says once in the program's life what its decoders are held by.
void tellOf(decoder::Protections held) {
    static std::once_flag said;
    std::call_once(said, [held] {
        if ((held & decoder::kAllProtections) == decoder::kAllProtections)
            qCInfo(decoderLog, "the decoders are behind bars: Landlock and seccomp hold them");
        else if ((held & decoder::kSystemCallFilter) != 0)
            qCWarning(decoderLog, "no Landlock here: seccomp alone holds the decoders");
        else if ((held & decoder::kFileRights) != 0)
            qCWarning(decoderLog, "no seccomp here: Landlock alone holds the decoders");
        else
            qCWarning(decoderLog,
                      "neither Landlock nor seccomp holds the decoders: they are but processes apart");
    });
}

struct Mapping {
    void* address;
    std::size_t size;
};

void unmap(void* info) {
    const std::unique_ptr<Mapping> mapping(static_cast<Mapping*>(info));
    ::munmap(mapping->address, mapping->size);
}

DecodeFailure failure(DecodeError error, const QString& message = QString()) {
    return DecodeFailure{error, message};
}

decoder::RequestKind protocolKind(DecodeRequest::Kind kind) {
    switch (kind) {
        case DecodeRequest::Kind::embeddedPreview:
            return decoder::RequestKind::embeddedPreview;
        case DecodeRequest::Kind::storedThumbnail:
            return decoder::RequestKind::storedThumbnail;
        case DecodeRequest::Kind::properties:
            return decoder::RequestKind::properties;
        case DecodeRequest::Kind::region:
            return decoder::RequestKind::region;
        case DecodeRequest::Kind::frame:
            return decoder::RequestKind::frame;
        case DecodeRequest::Kind::thumbnail:
            break;
    }
    return decoder::RequestKind::thumbnail;
}

decoder::Rectangle rectangle(const QRect& rect) {
    return {rect.x(), rect.y(), rect.width(), rect.height()};
}

decoder::Request messageOf(const DecodeRequest& request) {
    decoder::Request message;
    message.kind = protocolKind(request.kind);
    message.pixelSize = request.pixelSize;
    message.level = request.level;
    message.region = rectangle(request.region);
    message.interest = rectangle(request.interest);
    message.frame = request.frame;
    return message;
}

bool isSane(const DecodeRequest& request) {
    return request.descriptor >= 0 && request.pixelSize >= 1 &&
           request.pixelSize <= decoder::kMaximumPixelSize && request.frame >= 0 &&
           (request.kind != DecodeRequest::Kind::region || decoder::isSaneRegion(messageOf(request)));
}

/// Whether an answer's picture is what was asked for, as far as that is known before.
bool isAsAsked(const Response& response, const DecodeRequest& request) {
    if (request.kind == DecodeRequest::Kind::frame)
        return request.frame < response.frameCount;
    return request.kind != DecodeRequest::Kind::region ||
           decoder::Size{response.width, response.height} ==
               decoder::regionAnswerSize(rectangle(request.region), request.level);
}

/// The loader's own words, on one line of printable text.
QString messageOf(const Response& response) {
    const auto* end = std::find(std::begin(response.message), std::end(response.message), '\0');
    QString text = QString::fromUtf8(response.message, end - response.message);
    for (QChar& character : text) {
        if (!character.isPrint())
            character = u' ';
    }
    return text.trimmed();
}

/// The picture in sealed shared memory; nothing when the answer breaks the protocol in any way.
std::optional<DecodedPicture> pictureOf(const Response& response, int descriptor, int maximumSide) {
    const auto layout = decoder::checkedLayout(response, maximumSide);
    if (!layout || !decoder::isSealedMemory(descriptor, layout->totalBytes))
        return std::nullopt;
    const auto size = static_cast<std::size_t>(layout->totalBytes);
    void* address = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
    if (address == MAP_FAILED)
        return std::nullopt;
    auto mapping = std::make_unique<Mapping>(Mapping{address, size});
    const auto* bytes = static_cast<const uchar*>(address);
    const auto format = response.format == decoder::PixelFormat::rgb32 ? QImage::Format_RGB32
                                                                       : QImage::Format_ARGB32_Premultiplied;

    DecodedPicture picture;
    const auto texts = decoder::unpackTexts(
        QByteArrayView(bytes + layout->pixelBytes, static_cast<qsizetype>(response.textBytes)));
    const QImage image(bytes, response.width, response.height, response.stride, format, unmap,
                       mapping.release());
    if (!texts || image.isNull())
        return std::nullopt;
    picture.texts = *texts;
    picture.image = layout->totalBytes < kSmallestMapping ? image.copy() : image;
    picture.fullSize = QSize(response.fullWidth, response.fullHeight);
    picture.frameCount = response.frameCount;
    picture.delay = std::chrono::milliseconds(response.delay);
    picture.loops = response.loops;
    return picture;
}

/// The properties in sealed shared memory, which is copied; nothing when the answer breaks the protocol.
std::optional<DecodedProperties> propertiesOf(const Response& response, int descriptor) {
    if (response.textBytes < 1 || response.textBytes > decoder::kMaximumPackedProperties ||
        !decoder::isSealedMemory(descriptor, response.textBytes))
        return std::nullopt;
    QByteArray bytes(static_cast<qsizetype>(response.textBytes), Qt::Uninitialized);
    if (::pread(descriptor, bytes.data(), response.textBytes, 0) != bytes.size())
        return std::nullopt;
    auto properties = decoder::unpackProperties(bytes);
    return properties ? std::optional(DecodedProperties{std::move(*properties)}) : std::nullopt;
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
    };

    explicit Private(QString programPath)
        : program(std::move(programPath)), cancelled(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

    Worker& worker(Role role) { return workers[static_cast<std::size_t>(role)]; }
    void end(Role role) {
        worker(role) = Worker();
        if (role == Role::common)
            commonProcessId = 0;
    }
    bool start(Role role);
    bool hasDiedIdle(Role role);
    bool isCancelled() const;
    Outcome ask(Role role, const DecodeRequest& request, std::chrono::milliseconds deadline);
    Outcome awaitAnswer(Worker& worker, std::uint64_t id, Clock::time_point end);
    std::optional<Trouble> awaitMessage(const Worker& worker, Clock::time_point end) const;
    std::optional<Trouble> awaitTaking(const Worker& worker) const;
    DecodeResult result(const Answer& answer, const DecodeRequest& request, Role role);

    const QString program;
    const ScopedFileDescriptor cancelled;  // an event: cancel() was called
    std::array<Worker, 3> workers;         // by role
    std::atomic<int> commonProcessId = 0;
    std::uint64_t lastId = 0;
};

bool DecoderProcess::Private::start(Role role) {
    Worker& it = worker(role);
    if (it.child && hasDiedIdle(role))
        end(role);
    if (it.child)
        return true;
    it.child = ChildProcess::start(bytesFromPath(program), {"--role", decoder::roleName(role)},
                                   decoder::kSocketDescriptor);
    if (!it.child) {
        qCWarning(decoderLog, "%s cannot be started: %s", qUtf8Printable(program), std::strerror(errno));
        return false;
    }
    if (role == Role::common)
        commonProcessId = it.child->processId();
    return true;
}

/// A decoder that went while nothing was asked of it: no request's fault.
bool DecoderProcess::Private::hasDiedIdle(Role role) {
    pollfd socket{worker(role).child->socket(), 0, 0};
    return ::poll(&socket, 1, 0) > 0 && (socket.revents & (POLLHUP | POLLERR)) != 0;
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
        tellOf(answer.response.protections);
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
            return failure(DecodeError::notImage, messageOf(answer.response));
        case Status::damaged:
            return failure(DecodeError::damaged, messageOf(answer.response));
        case Status::tooLarge:
            return failure(DecodeError::tooLarge, messageOf(answer.response));
        case Status::noPreview:
            return failure(DecodeError::noPreview, messageOf(answer.response));
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
    return failure(DecodeError::badAnswer);
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
    using Trouble = Private::Trouble;
    if (!isSane(request))
        return failure(DecodeError::damaged, QStringLiteral("no picture can be asked for like this"));
    if (_d->isCancelled())
        return failure(DecodeError::cancelled);
    Role role = request.kind == DecodeRequest::Kind::properties ? Role::properties : Role::common;
    int failedStarts = 0;
    for (int deaths = 0; deaths < 2;) {
        const auto outcome = _d->ask(role, request, deadline);
        if (const auto* answer = std::get_if<Private::Answer>(&outcome)) {
            if (answer->response.status != Status::otherRole || role != Role::common)
                return _d->result(*answer, request, role);
            role = Role::rare;
            continue;
        }
        _d->end(role);
        switch (std::get<Trouble>(outcome)) {
            case Trouble::died:
                ++deaths;
                break;
            case Trouble::timedOut:
                return failure(DecodeError::timedOut);
            case Trouble::broken:
                return failure(DecodeError::badAnswer);
            case Trouble::cancelled:
                return failure(DecodeError::cancelled);
            case Trouble::neverReady:
            case Trouble::notTaken:
                // Killed while it started, or stopped: a broken installation fails the second time as well.
                if (++failedStarts < 2)
                    break;
                [[fallthrough]];
            case Trouble::notStarted:
                return failure(DecodeError::unavailable, QStringLiteral("no decoder could be started"));
        }
    }
    return failure(DecodeError::crashed);
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
