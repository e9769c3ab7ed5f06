// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace decoder {

/// Loads the fonts of drawings into memory, as no file can be opened once requests are served: what the
/// system takes for the generic families and the names met most, in their styles, and for scripts that those
/// lack. Text in any other font is drawn with the most alike of these. Call once.
void loadFonts();

}  // namespace decoder
