// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <vector>

namespace platform {
struct NotRestored;
}

/// What the line under the grid says of the last deed: a value.
struct StatusMessage {
    QString text;
    QString details;  ///< for the line's tool tip, in lines; plain text
};

StatusMessage scriptRunningMessage(const QString& scriptName);
/// `status`: as wait() answers it. Of a failure the error output says more.
StatusMessage scriptEndedMessage(const QString& scriptName, int status, const QString& errors);
/// What an undo could not bring back, one file or more, and why.
StatusMessage notRestoredMessage(const std::vector<platform::NotRestored>& files);
