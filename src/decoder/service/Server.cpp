// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/service/Server.h"

#include "decoder/protocol/SocketMessage.h"

#include <poll.h>

#include <cstdlib>

namespace decoder {

namespace {

/// Without a request, after which what was kept for further ones is given back.
constexpr int kRestMilliseconds = 20'000;

bool isSane(const Request& request, const ReceivedMessage& received) {
    return received.state == ReceivedMessage::State::message && received.size == sizeof request &&
           request.magic == kMagic && request.version == kVersion && request.pixelSize >= 1 &&
           request.pixelSize <= kMaximumPixelSize && request.frame >= 0 &&
           (request.kind != RequestKind::region || isSaneRegion(request)) && received.descriptor.isValid();
}

}  // namespace

int serve(int socket, Protections protections, Service& service) {
    Response ready;
    ready.status = Status::ready;
    ready.protections = protections;
    if (!sendMessage(socket, &ready, sizeof ready, -1, Waiting::yes))
        return EXIT_FAILURE;
    while (true) {
        pollfd waited{socket, POLLIN, 0};
        if (::poll(&waited, 1, kRestMilliseconds) == 0)
            service.rest();
        Request request;
        const ReceivedMessage received = receiveMessage(socket, &request, sizeof request, Waiting::yes);
        if (received.state == ReceivedMessage::State::closed)
            return EXIT_SUCCESS;
        if (!isSane(request, received))
            return EXIT_FAILURE;
        Response response;
        response.id = request.id;
        const auto memory = service.answer(request, received.descriptor.get(), response);
        if (!sendMessage(socket, &response, sizeof response, memory.get(), Waiting::yes))
            return EXIT_FAILURE;
    }
}

}  // namespace decoder
