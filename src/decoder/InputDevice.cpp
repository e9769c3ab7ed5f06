// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/InputDevice.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace decoder {

InputDevice::InputDevice(int descriptor) : _descriptor(descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        _size = status.st_size;
        open(QIODevice::ReadOnly);
    }
}

InputDevice::InputDevice(const InputDevice& file, qint64 start, qint64 length)
    : _descriptor(file._descriptor),
      _start(file._start + std::clamp<qint64>(start, 0, file._size)),
      _size(std::clamp<qint64>(length, 0, file._size - (_start - file._start))) {
    open(QIODevice::ReadOnly);
}

InputDevice::Identity InputDevice::identity() const {
    struct stat status {};
    ::fstat(_descriptor, &status);
    return {std::int64_t(status.st_dev), std::int64_t(status.st_ino), status.st_size,
            status.st_mtim.tv_sec,       status.st_mtim.tv_nsec,      status.st_ctim.tv_sec,
            status.st_ctim.tv_nsec};
}

QByteArray InputDevice::head(qsizetype bytes) const {
    return bytesAt(0, bytes);
}

QByteArray InputDevice::bytesAt(qint64 offset, qsizetype bytes) const {
    if (offset < 0 || offset >= _size || bytes <= 0)
        return {};
    QByteArray result(static_cast<qsizetype>(std::min<qint64>(bytes, _size - offset)), Qt::Uninitialized);
    result.truncate(
        static_cast<qsizetype>(std::max<qint64>(0, readAt(offset, result.data(), result.size()))));
    return result;
}

qint64 InputDevice::readAt(qint64 offset, char* data, qint64 maximum) const {
    maximum = std::min(maximum, _size - offset);
    if (offset < 0)
        return -1;
    qint64 done = 0;
    while (done < maximum) {
        const ssize_t count = ::pread(_descriptor, data + done, static_cast<std::size_t>(maximum - done),
                                      _start + offset + done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 && done == 0)
            return -1;
        if (count <= 0)
            break;
        done += count;
    }
    if (const qint64 replaced = std::min(done, _head.size() - offset); replaced > 0)
        std::memcpy(data, _head.constData() + offset, static_cast<std::size_t>(replaced));
    return done;
}

qint64 InputDevice::readData(char* data, qint64 maximum) {
    return readAt(pos(), data, maximum);
}

}  // namespace decoder
