// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayList>
#include <QStringList>

struct _GAppInfo;

namespace platform {

/// Programs started and asked without waiting for them. What fails is logged, and where
/// no other way is left told by Workspace::openingFailed(). Main thread only.

/// Starts a program with addresses.
void launch(_GAppInfo* program, const QByteArrayList& uris);
/// Opens the file or folder of a file URI in the user's program for its type.
void openFile(const QByteArray& uri);
/// Asks the file manager over the session's bus; where it does not answer the files' folders are opened.
void showItems(const QStringList& paths);

}  // namespace platform
