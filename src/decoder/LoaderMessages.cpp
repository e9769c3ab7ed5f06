// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/LoaderMessages.h"

#include <QString>
#include <QtGlobal>

#include <cstdio>
#include <mutex>
#include <utility>

namespace decoder {

namespace {

std::mutex messageMutex;  // guards lastMessage: loaders may use threads
QByteArray lastMessage;

void keepMessage(QtMsgType type, const QMessageLogContext&, const QString& text) {
    const std::scoped_lock lock(messageMutex);
    lastMessage = text.toUtf8();
    if (type == QtFatalMsg)
        std::fprintf(stderr, "tavlin-decoder: %s\n", lastMessage.constData());
}

}  // namespace

void collectLoaderMessages() {
    qInstallMessageHandler(keepMessage);
}

QByteArray takeLoaderMessage() {
    const std::scoped_lock lock(messageMutex);
    return std::exchange(lastMessage, QByteArray());
}

}  // namespace decoder
