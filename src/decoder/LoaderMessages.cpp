// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/LoaderMessages.h"

#include <QString>
#include <QtGlobal>

#include <unistd.h>

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

void silenceStandardError() {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    ::dup2(STDOUT_FILENO, STDERR_FILENO);
#endif
}

QByteArray takeLoaderMessage() {
    const std::scoped_lock lock(messageMutex);
    return std::exchange(lastMessage, QByteArray());
}

}  // namespace decoder
