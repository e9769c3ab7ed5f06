// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace platform {

/// The folder below which the program's parts lie, in the build tree as installed (bin, libexec/tavlin,
/// share/tavlin): TAVLIN_PREFIX where that is set, else the one that holds the running program's folder. An
/// installed program may be moved as a whole. Needs no application object.
QString installPrefix();

}  // namespace platform
