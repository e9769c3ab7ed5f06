// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "decoder/protocol/Protocol.h"
#include "platform/imaging/DecoderProcess.h"

#include <optional>

namespace platform {

// What goes to a decoder, and what may be believed of what comes back: nothing that has not been looked at.
// Any thread.

decoder::Request messageOf(const DecodeRequest& request);
/// Whether it can be asked for at all.
bool isSane(const DecodeRequest& request);

/// Whether an answer's picture is what was asked for, as far as that is known before.
bool isAsAsked(const decoder::Response& response, const DecodeRequest& request);
/// The loader's own words, on one line of printable text.
QString loaderMessage(const decoder::Response& response);
/// The picture in sealed shared memory; nothing when the answer breaks the protocol in any way.
std::optional<DecodedPicture> pictureOf(const decoder::Response& response, int descriptor, int maximumSide);
/// The properties in sealed shared memory, which is copied; nothing when the answer breaks the protocol.
std::optional<DecodedProperties> propertiesOf(const decoder::Response& response, int descriptor);

}  // namespace platform
