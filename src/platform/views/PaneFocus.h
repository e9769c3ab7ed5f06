// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPalette>

namespace platform {

/// Two colours of a palette mixed; `share` is that of the first, 0 to 1.
inline QColor mixed(const QColor& first, const QColor& second, float share) {
    const auto part = [share](float a, float b) {
        return a * share + b * (1 - share);
    };
    return QColor::fromRgbF(part(first.redF(), second.redF()), part(first.greenF(), second.greenF()),
                            part(first.blueF(), second.blueF()));
}

/// The palette of a pane that does not have the keyboard: its selection is paler, so that of several panes
/// the one that the keys go to stands out.
inline QPalette withoutFocus(QPalette palette) {
    constexpr float strength = 0.5F;
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        const QColor base = palette.color(group, QPalette::Base);
        palette.setColor(group, QPalette::Highlight,
                         mixed(palette.color(group, QPalette::Highlight), base, strength));
        palette.setColor(group, QPalette::HighlightedText, palette.color(group, QPalette::Text));
    }
    return palette;
}

}  // namespace platform
