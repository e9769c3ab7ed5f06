// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/protocol/Protocol.h"
#include "platform/ScopedFileDescriptor.h"

namespace decoder {

/// What a decoder can do: one implementation for its role, loaded whole before the first request.
class Service {
 public:
    Service() = default;
    virtual ~Service() = default;
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /// Does what a sane request asks with the open file: fills the response, all but its id, and answers the
    /// memory that goes with it, if there is any.
    virtual platform::ScopedFileDescriptor answer(const Request& request, int file, Response& response) = 0;
    /// There was no request for a while: gives back what was kept for further ones.
    virtual void rest() {}
};

}  // namespace decoder
