// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/protocol/SocketMessage.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace decoder {

namespace {

// Room for two, as alignment would let a second one slip in unseen anyway.
constexpr std::size_t kControlBytes = CMSG_SPACE(2 * sizeof(int));

/// Takes the attached descriptors out of the message; answers their number.
std::size_t takeDescriptors(msghdr& message, platform::ScopedFileDescriptor& first) {
    std::size_t count = 0;
    for (cmsghdr* control = CMSG_FIRSTHDR(&message); control; control = CMSG_NXTHDR(&message, control)) {
        if (control->cmsg_level != SOL_SOCKET || control->cmsg_type != SCM_RIGHTS)
            continue;
        const std::size_t here = (control->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < here; ++i) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(control) + i * sizeof(int), sizeof descriptor);
            platform::ScopedFileDescriptor owned(descriptor);
            if (count++ == 0)
                first = std::move(owned);
        }
    }
    return count;
}

}  // namespace

bool sendMessage(int socket, const void* bytes, std::size_t size, int descriptor, Waiting waiting) {
    iovec part{const_cast<void*>(bytes), size};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (descriptor >= 0) {
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        cmsghdr* header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    }
    const int flags = MSG_NOSIGNAL | (waiting == Waiting::no ? MSG_DONTWAIT : 0);
    ssize_t sent = 0;
    do
        sent = ::sendmsg(socket, &message, flags);
    while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(size);
}

ReceivedMessage receiveMessage(int socket, void* room, std::size_t size, Waiting waiting) {
    iovec part{room, size};
    alignas(cmsghdr) char control[kControlBytes] = {};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const int flags = MSG_CMSG_CLOEXEC | (waiting == Waiting::no ? MSG_DONTWAIT : 0);
    ssize_t received = 0;
    do
        received = ::recvmsg(socket, &message, flags);
    while (received < 0 && errno == EINTR);

    ReceivedMessage result;
    if (received < 0) {
        if (errno == EAGAIN || errno == EWOULDBLOCK)
            result.state = ReceivedMessage::State::nothingYet;
        else if (errno == ECONNRESET)
            result.state = ReceivedMessage::State::closed;
        return result;
    }
    const std::size_t descriptors = takeDescriptors(message, result.descriptor);
    if (received == 0 && descriptors == 0)
        result.state = ReceivedMessage::State::closed;
    else if (descriptors <= 1 && (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) == 0)
        result.state = ReceivedMessage::State::message;
    result.size = static_cast<std::size_t>(received);
    return result;
}

}  // namespace decoder
