// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

namespace decoder {

/// Keeps what the loaders say through the toolkit's log. Call once.
void collectLoaderMessages();

/// Leads standard error to where standard output goes, nowhere: what libraries write there on account of a
/// picture is neither ours nor harmless on a terminal. Call when everything is loaded. A build with
/// sanitizers keeps it for their reports.
void silenceStandardError();

/// The last thing said since the last call, UTF-8; empty when nothing was.
QByteArray takeLoaderMessage();

}  // namespace decoder
