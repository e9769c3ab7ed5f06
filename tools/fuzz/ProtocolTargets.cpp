// SPDX-License-Identifier: GPL-3.0-or-later
// Both sides of the decoder's socket.
#include "decoder/packing/PackedProperties.h"
#include "decoder/packing/PackedTexts.h"
#include "decoder/protocol/Protocol.h"
#include "decoder/protocol/SocketMessage.h"
#include "fuzz/Target.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <array>
#include <cstring>

using fuzzing::require;
using platform::ScopedFileDescriptor;

namespace {

template <typename Message>
QByteArray bytesOf(const Message& message) {
    return {reinterpret_cast<const char*>(&message), sizeof message};
}

template <typename Message>
Message messageOf(const QByteArray& bytes) {
    Message message;
    std::memcpy(static_cast<void*>(&message), bytes.constData(),
                std::min(sizeof message, static_cast<std::size_t>(bytes.size())));
    return message;
}

std::vector<QByteArray> requestSeeds() {
    decoder::Request request;
    request.kind = decoder::RequestKind::region;
    request.id = 1;
    request.pixelSize = 256;
    request.level = 2;
    request.region = {512, 512, 2048, 1024};
    request.interest = {0, 0, 4096, 4096};
    return {bytesOf(request)};
}

void examineRequest(const QByteArray& bytes) {
    const auto request = messageOf<decoder::Request>(bytes);
    if (!decoder::isSaneRegion(request))
        return;
    const auto size = decoder::regionAnswerSize(request.region, request.level);
    require(size.width >= 1 && size.height >= 1 && size.width <= decoder::kMaximumRegionSide &&
                size.height <= decoder::kMaximumRegionSide,
            "a region that may be asked for has an answer within the bounds");
}

std::vector<QByteArray> responseSeeds() {
    decoder::Response response;
    response.status = decoder::Status::picture;
    response.id = 7;
    response.width = response.fullWidth = 64;
    response.height = response.fullHeight = 48;
    response.stride = 256;
    response.format = decoder::PixelFormat::rgb32;
    const QByteArray texts =
        decoder::packTexts({{"Thumb::MTime", "1600000000"}, {"Thumb::URI", "file:///a"}});
    response.textBytes = static_cast<std::uint64_t>(texts.size());
    return {bytesOf(response) + texts, bytesOf(response)};
}

void examineResponse(const QByteArray& bytes) {
    const auto response = messageOf<decoder::Response>(bytes);
    decoder::isResponseTo(response, static_cast<std::size_t>(bytes.size()), 7);
    if (const auto layout = decoder::checkedLayout(response, 8192)) {
        require(response.width <= 8192 && response.height <= 8192 && response.stride >= 4 * response.width,
                "a layout's rows have room for their pixels");
        require(layout->pixelBytes == std::uint64_t(response.stride) * std::uint64_t(response.height) &&
                    layout->totalBytes == layout->pixelBytes + response.textBytes,
                "a layout's parts add up");
    }
    const auto texts = decoder::unpackTexts(
        QByteArrayView(bytes).sliced(std::min<qsizetype>(sizeof response, bytes.size())));
    if (texts)
        require(decoder::unpackTexts(decoder::packTexts(*texts)) == texts,
                "texts survive being packed again");
}

std::vector<QByteArray> propertySeeds() {
    using platform::PropertyValue;
    PropertyValue::Array array;
    array.elements = {PropertyValue(QStringLiteral("sea")), PropertyValue(7)};
    const platform::PropertyDictionary exif{{QStringLiteral("FNumber"), PropertyValue(2.8)},
                                            {QStringLiteral("Keywords"), PropertyValue(array)}};
    return {decoder::packProperties({{QStringLiteral("PixelWidth"), PropertyValue(6000)},
                                     {QStringLiteral("{Exif}"), PropertyValue::Dictionary{exif}}})};
}

QString described(const platform::PropertyDictionary& properties) {
    return platform::PropertyValue(platform::PropertyValue::Dictionary{properties}).description();
}

void examineProperties(const QByteArray& bytes) {
    const auto properties = decoder::unpackProperties(bytes);
    if (!properties)
        return;
    const auto again = decoder::unpackProperties(decoder::packProperties(*properties));
    require(again && described(*again) == described(*properties), "properties survive being packed again");
}

std::vector<QByteArray> socketSeeds() {
    return {QByteArray(1, '\0') + bytesOf(decoder::Response()),
            QByteArray(1, '\1') + bytesOf(decoder::Response()), QByteArray(1, '\2') + "short"};
}

/// The first byte is the number of descriptors that come along, the others are the message.
void examineSocket(const QByteArray& bytes) {
    std::array<int, 2> ends{};
    if (bytes.isEmpty() || ::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return;
    const ScopedFileDescriptor ours(ends[0]);
    ScopedFileDescriptor theirs(ends[1]);
    const int count = bytes[0] & 3;
    const ScopedFileDescriptor passed(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    iovec part{const_cast<char*>(bytes.constData() + 1), static_cast<std::size_t>(bytes.size() - 1)};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(3 * sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (count > 0) {
        message.msg_control = control.data();
        message.msg_controllen = CMSG_SPACE(static_cast<std::size_t>(count) * sizeof(int));
        cmsghdr* header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(static_cast<std::size_t>(count) * sizeof(int));
        for (int i = 0; i < count; ++i) {
            const int descriptor = passed.get();
            std::memcpy(CMSG_DATA(header) + static_cast<std::size_t>(i) * sizeof(int), &descriptor,
                        sizeof(int));
        }
    }
    const bool isSent = ::sendmsg(theirs.get(), &message, MSG_NOSIGNAL) >= 0;
    theirs = ScopedFileDescriptor();
    decoder::Response room;
    const auto received = decoder::receiveMessage(ours.get(), &room, sizeof room, decoder::Waiting::no);
    if (!isSent || received.state != decoder::ReceivedMessage::State::message)
        return;
    require(received.size == part.iov_len && received.size <= sizeof room && count < 2 &&
                received.descriptor.isValid() == (count == 1),
            "a message that is whole is what was sent");
}

const fuzzing::Target request("request", requestSeeds, examineRequest);
const fuzzing::Target response("response", responseSeeds, examineResponse);
const fuzzing::Target properties("properties", propertySeeds, examineProperties);
const fuzzing::Target socketMessage("socket", socketSeeds, examineSocket);

}  // namespace
