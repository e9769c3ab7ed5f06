// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/properties/DeviceIo.h"

#include <exiv2/error.hpp>

#include <algorithm>

namespace decoder {

int DeviceIo::open() {
    _isAtEnd = false;
    return _device.seek(0) ? 0 : 1;
}

/// Never asks for more memory than there are bytes.
Exiv2::DataBuf DeviceIo::read(long count) {
    const auto rest = static_cast<long>(_device.size() - _device.pos());
    Exiv2::DataBuf bytes(std::clamp(count, 0L, std::max(rest, 0L)));
    bytes.size_ = read(bytes.pData_, bytes.size_);
    _isAtEnd = _isAtEnd || bytes.size_ < count;
    return bytes;
}

long DeviceIo::read(Exiv2::byte* bytes, long count) {
    const qint64 done = count > 0 ? _device.read(reinterpret_cast<char*>(bytes), count) : 0;
    _isAtEnd = _isAtEnd || done < count;
    return static_cast<long>(std::max<qint64>(done, 0));
}

int DeviceIo::getb() {
    char byte = 0;
    if (_device.getChar(&byte))
        return static_cast<unsigned char>(byte);
    _isAtEnd = true;
    return EOF;
}

int DeviceIo::seek(long offset, Position from) {
    const qint64 base = from == cur ? _device.pos() : from == end ? _device.size() : 0;
    if (offset < -base || offset > _device.size() - base) {
        _isAtEnd = offset > 0;
        return 1;
    }
    _isAtEnd = false;
    return _device.seek(base + offset) ? 0 : 1;
}

Exiv2::byte* DeviceIo::mmap(bool) {
    constexpr qint64 kMost = qint64(512) << 20;
    if (_device.size() > kMost)
        throw Exiv2::Error(Exiv2::kerFailedToReadImageData);
    const qint64 place = _device.pos();
    _device.seek(0);
    _mapped = _device.read(_device.size());
    _mapped.resize(_device.size());  // a file that was cut meanwhile goes on with zeros
    _device.seek(place);
    return reinterpret_cast<Exiv2::byte*>(_mapped.data());
}

int DeviceIo::munmap() {
    _mapped = QByteArray();
    return 0;
}

}  // namespace decoder
