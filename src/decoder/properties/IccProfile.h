// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QString>

namespace decoder {

/// The description in an ICC profile, as a single line; empty where there is none.
/// Source: ICC.1:2022, 7.2 and 10.15; ICC.1:2001-04, 6.5.17.
QString profileName(QByteArrayView profile);

}  // namespace decoder
