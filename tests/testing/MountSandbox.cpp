// SPDX-License-Identifier: GPL-3.0-or-later
#include "testing/MountSandbox.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QProcess>

#include <cerrno>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

QString sandboxProblem = u"the mount sandbox was not entered"_s;

bool run(const QString& program, const QStringList& arguments) {
    return QProcess::execute(program, arguments) == 0;
}

}  // namespace

void MountSandbox::enter() {
    if (::geteuid() != 0)
        sandboxProblem = u"mounting needs root"_s;
    else if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        sandboxProblem = u"no private mounts here: "_s + QString::fromLocal8Bit(std::strerror(errno));
    else
        sandboxProblem.clear();
}

const QString& MountSandbox::problem() {
    return sandboxProblem;
}

bool MountSandbox::mountTmpfs(const QString& folder, const char* options) {
    QDir().mkpath(folder);
    return ::mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", 0, options) == 0;
}

bool MountSandbox::mountExt4(const QString& folder, int mebibytes, const char* label) {
    QDir().mkpath(folder);
    QFile image(folder + u".image"_s);
    if (!image.open(QFile::WriteOnly) || !image.resize(qint64{mebibytes} << 20))
        return false;
    image.close();
    return run(u"mkfs.ext4"_s, {u"-q"_s, u"-F"_s, u"-L"_s, QString::fromLatin1(label), image.fileName()}) &&
           run(u"mount"_s, {u"-o"_s, u"loop"_s, image.fileName(), folder});
}

bool MountSandbox::remountReadOnly(const QString& folder) {
    return run(u"mount"_s, {u"-o"_s, u"remount,ro"_s, folder});
}

bool MountSandbox::unmount(const QString& folder) {
    return ::umount2(QFile::encodeName(folder).constData(), MNT_DETACH) == 0;
}
