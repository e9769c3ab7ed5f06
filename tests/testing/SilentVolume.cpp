// SPDX-License-Identifier: GPL-3.0-or-later
#include "testing/SilentVolume.h"

#include <fcntl.h>
#include <linux/fuse.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>

#include <cerrno>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

constexpr quint64 firstNode = FUSE_ROOT_ID + 1;
constexpr std::size_t largestRequest = std::size_t{1} << 18;

template <typename T>
QByteArray bytesOf(const T& value) {
    return QByteArray(reinterpret_cast<const char*>(&value), sizeof value);
}

template <typename T>
T argumentOf(const QByteArray& request) {
    T value{};
    std::memcpy(&value, request.constData() + sizeof(fuse_in_header),
                std::min(sizeof value, std::size_t(request.size()) - sizeof(fuse_in_header)));
    return value;
}

fuse_attr attributesOf(quint64 node, qsizetype size) {
    fuse_attr attributes{};
    attributes.ino = node;
    attributes.size = static_cast<quint64>(size);
    attributes.mode = node == FUSE_ROOT_ID ? S_IFDIR | 0777 : S_IFREG | 0666;
    attributes.nlink = 1;
    attributes.mtime = 1'000'000'000;
    attributes.blksize = 4096;
    return attributes;
}

QByteArray entryOf(quint64 node, const QByteArray& name, quint64 nextOffset) {
    fuse_dirent entry{};
    entry.ino = node;
    entry.off = nextOffset;
    entry.namelen = static_cast<quint32>(name.size());
    entry.type = node == FUSE_ROOT_ID ? S_IFDIR >> 12 : S_IFREG >> 12;
    QByteArray bytes = bytesOf(entry).first(FUSE_NAME_OFFSET) + name;
    return bytes.leftJustified(static_cast<qsizetype>(FUSE_DIRENT_ALIGN(std::size_t(bytes.size()))), '\0');
}

QByteArray reply(const QByteArray& request, int error, const QByteArray& body) {
    fuse_in_header asked{};
    std::memcpy(&asked, request.constData(), sizeof asked);
    const fuse_out_header header{static_cast<quint32>(sizeof(fuse_out_header) + std::size_t(body.size())),
                                 -error, asked.unique};
    return bytesOf(header) + body;
}

}  // namespace

SilentVolume::SilentVolume(QString mountFolder, QList<File> files)
    : _mountFolder(std::move(mountFolder)), _files(std::move(files)) {
    _device = ::open("/dev/fuse", O_RDWR | O_CLOEXEC | O_NONBLOCK);
    const QByteArray options =
        "fd=" + QByteArray::number(_device) + ",rootmode=40000,user_id=0,group_id=0,allow_other";
    if (_device < 0 || ::mount("silent", QFile::encodeName(_mountFolder).constData(), "fuse.silent", 0,
                               options.constData()) != 0)
        _problem = u"no FUSE volume can be mounted: "_s + QString::fromLocal8Bit(std::strerror(errno));
    else
        _server = std::thread([this] { serve(); });
}

SilentVolume::~SilentVolume() {
    _hasEnded = true;
    if (_server.joinable())
        _server.join();
    ::close(_device);  // whoever still waits gets an error
    if (_problem.isEmpty())
        ::umount2(QFile::encodeName(_mountFolder).constData(), MNT_DETACH);
}

void SilentVolume::serve() {
    QByteArray buffer(largestRequest, '\0');
    while (!_hasEnded) {
        pollfd waited{_device, POLLIN, 0};
        constexpr int interval = 20;  // milliseconds
        if (::poll(&waited, 1, interval) <= 0)
            continue;
        if (_isSilent) {
            ::poll(nullptr, 0, interval);
            continue;
        }
        const ssize_t size = ::read(_device, buffer.data(), largestRequest);
        if (size <= 0)
            continue;
        const QByteArray answer = answerTo(buffer.first(size));
        if (!answer.isEmpty() && ::write(_device, answer.constData(), std::size_t(answer.size())) > 0)
            ++_answered;
    }
}

const SilentVolume::File* SilentVolume::fileOfNode(quint64 node) const {
    const quint64 index = node - firstNode;
    return node >= firstNode && index < quint64(_files.size()) ? &_files[qsizetype(index)] : nullptr;
}

/// The few operations that listing and reading need; all else it refuses.
QByteArray SilentVolume::answerTo(const QByteArray& request) const {
    fuse_in_header header{};
    std::memcpy(&header, request.constData(), sizeof header);
    const File* file = fileOfNode(header.nodeid);
    switch (header.opcode) {
        case FUSE_INIT: {
            fuse_init_out init{};
            init.major = FUSE_KERNEL_VERSION;
            init.minor = 31;
            init.max_write = 4096;
            return reply(request, 0, bytesOf(init));
        }
        case FUSE_GETATTR: {
            fuse_attr_out out{};
            out.attr = attributesOf(header.nodeid, file == nullptr ? 0 : file->content.size());
            return reply(request, 0, bytesOf(out));
        }
        case FUSE_LOOKUP: {
            const QByteArray name(request.constData() + sizeof header);
            for (qsizetype i = 0; i < _files.size(); ++i) {
                if (_files[i].name != name)
                    continue;
                fuse_entry_out out{};
                out.nodeid = firstNode + quint64(i);
                out.attr = attributesOf(out.nodeid, _files[i].content.size());
                return reply(request, 0, bytesOf(out));
            }
            return reply(request, ENOENT, {});
        }
        case FUSE_OPEN:
        case FUSE_OPENDIR:
            return reply(request, 0, bytesOf(fuse_open_out{}));
        case FUSE_READDIR: {
            const auto asked = argumentOf<fuse_read_in>(request);
            QByteArray list;
            for (quint64 i = asked.offset; i < quint64(_files.size()); ++i)
                list += entryOf(firstNode + i, _files[qsizetype(i)].name, i + 1);
            return reply(request, 0, list.first(qMin<qsizetype>(list.size(), asked.size)));
        }
        case FUSE_READ: {
            const auto asked = argumentOf<fuse_read_in>(request);
            return reply(request, 0,
                         file == nullptr ? QByteArray()
                                         : file->content.mid(qsizetype(asked.offset), qsizetype(asked.size)));
        }
        case FUSE_STATFS:
            return reply(request, 0, bytesOf(fuse_statfs_out{}));
        case FUSE_RELEASE:
        case FUSE_RELEASEDIR:
        case FUSE_FLUSH:
            return reply(request, 0, {});
        case FUSE_FORGET:
        case FUSE_BATCH_FORGET:
        case FUSE_INTERRUPT:
            return {};
        default:
            return reply(request, ENOSYS, {});
    }
}
