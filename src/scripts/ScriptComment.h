// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// The first comment line of a script, without its mark ("#", "--" or "//"); the "#!" line does not count.
/// Reads the first 4 KiB of a regular file; a null string where there is no comment before the first other
/// line.
QString firstCommentOfScript(const QString& path);
