// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/service/Service.h"

namespace decoder {

/// Says that it is ready and what confines it, then serves requests one after the other until the program
/// closes the socket; answers the process's exit code.
int serve(int socket, Protections protections, Service& service);

}  // namespace decoder
