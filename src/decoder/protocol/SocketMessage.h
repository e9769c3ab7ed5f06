// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/ScopedFileDescriptor.h"

#include <cstddef>

namespace decoder {

/// What one receive brought.
struct ReceivedMessage {
    enum class State {
        message,
        nothingYet,  ///< only of a socket told not to wait
        closed,      ///< the other side is gone
        broken,      ///< an error, a message longer than the room for it, or more than one descriptor
    };
    State state = State::broken;
    std::size_t size = 0;  ///< bytes
    platform::ScopedFileDescriptor descriptor;
};

enum class Waiting : bool { no, yes };

/// Sends one message, `descriptor` attached unless it is -1. Never raises SIGPIPE; false when the other side
/// is gone or, without waiting, its queue is full.
bool sendMessage(int socket, const void* bytes, std::size_t size, int descriptor, Waiting waiting);

/// Receives one message into `room`; a descriptor that comes with it is closed on exec. A second descriptor
/// is closed and makes the message broken.
ReceivedMessage receiveMessage(int socket, void* room, std::size_t size, Waiting waiting);

}  // namespace decoder
