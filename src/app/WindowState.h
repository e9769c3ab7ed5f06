// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// How the main window was left: a value. It is no setting and is kept apart from them, in the state folder
/// of the XDG base directories.
struct WindowState {
    QByteArray geometry;        ///< as QWidget::saveGeometry() writes it; empty for none
    QByteArray splitter;        ///< as QSplitter::saveState() writes it: places beside pictures
    QByteArray placesSplitter;  ///< places above scripts
    int metadataWidth = 0;      ///< of the text beside a picture, points; 0 for none
    std::optional<float> zoom;  ///< 0 to 1
    QString folder;             ///< the selected folder; a null string for none

    /// $XDG_STATE_HOME/tavlin/window.json, by default below ~/.local/state.
    static QString defaultFilePath();
    /// What is missing or unreadable is left empty: the window then opens as it does at first.
    static WindowState read(const QString& filePath);
    /// Replaces the file whole or not at all; answers whether it could.
    bool write(const QString& filePath) const;
};
