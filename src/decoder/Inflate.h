// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <optional>

namespace decoder {

/// The first bytes of gzip data, unpacked: at most `maximum`, fewer when the data ends or is damaged.
QByteArray inflateStart(QByteArrayView packed, qsizetype maximum);

/// All of it; nothing when it is damaged or unpacks to more than `maximum` bytes.
std::optional<QByteArray> inflateWhole(QByteArrayView packed, qsizetype maximum);

}  // namespace decoder
