// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

/// A session bus of a test's own, which starts no service by itself. It ends with the object.
class PrivateBus {
 public:
    PrivateBus() {
        QFile settings(_folder.filePath(QStringLiteral("bus.conf")));
        if (!settings.open(QIODevice::WriteOnly))
            return;
        settings.write(
            "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>"
            "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
            "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>");
        settings.close();
        _process.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--nofork"), QStringLiteral("--print-address=1"),
                        QStringLiteral("--config-file=") + settings.fileName()});
        if (_process.waitForReadyRead(20000))
            _address = _process.readLine().trimmed();
    }
    ~PrivateBus() {
        _process.terminate();
        _process.waitForFinished();
    }

    /// Empty when it did not come up.
    const QByteArray& address() const { return _address; }

 private:
    QTemporaryDir _folder;
    QProcess _process;
    QByteArray _address;
};
