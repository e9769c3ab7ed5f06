// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QHash>

#include <optional>

namespace decoder {

using Texts = QHash<QByteArray, QByteArray>;

/// Texts that fit the protocol's bounds, packed; others are left out.
QByteArray packTexts(const Texts& texts);

/// The reverse; nothing when the bytes are no packed texts.
std::optional<Texts> unpackTexts(QByteArrayView bytes);

}  // namespace decoder
