// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <atomic>
#include <thread>

/// A volume (FUSE) of one folder of files that stops answering when told to, as a network's does: whoever
/// asks it anything waits, until it is killed or the volume is gone. Needs root for its making and its end.
class SilentVolume {
 public:
    struct File {
        QByteArray name;
        QByteArray content;
    };

    SilentVolume(QString mountFolder, QList<File> files);
    ~SilentVolume();

    /// Empty when it is mounted, otherwise why it could not be.
    const QString& problem() const { return _problem; }
    void fallSilent() { _isSilent = true; }
    /// How many requests it has answered.
    int answered() const { return _answered; }

 private:
    void serve();
    QByteArray answerTo(const QByteArray& request) const;
    const File* fileOfNode(quint64 node) const;

    const QString _mountFolder;
    const QList<File> _files;
    QString _problem;
    int _device = -1;
    std::atomic<bool> _isSilent = false;
    std::atomic<bool> _hasEnded = false;
    std::atomic<int> _answered = 0;
    std::thread _server;
};
