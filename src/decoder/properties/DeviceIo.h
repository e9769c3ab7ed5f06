// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <exiv2/basicio.hpp>

#include <QByteArray>
#include <QIODevice>

namespace decoder {

/// A file for the metadata's library, which reads of it what it wants; but those formats that it wants mapped
/// are read whole. Cannot be written. The device is borrowed.
class DeviceIo : public Exiv2::BasicIo {
 public:
    explicit DeviceIo(QIODevice& device) : _device(device) {}

    int open() override;
    int close() override { return 0; }
    long write(const Exiv2::byte*, long) override { return 0; }
    long write(BasicIo&) override { return 0; }
    int putb(Exiv2::byte) override { return EOF; }
    Exiv2::DataBuf read(long count) override;
    long read(Exiv2::byte* bytes, long count) override;
    int getb() override;
    void transfer(BasicIo&) override {}
    int seek(long offset, Position from) override;
    /// Throws for a file of over 512 MiB.
    Exiv2::byte* mmap(bool isWriteable) override;
    int munmap() override;
    long tell() const override { return static_cast<long>(_device.pos()); }
    std::size_t size() const override { return static_cast<std::size_t>(_device.size()); }
    bool isopen() const override { return true; }
    int error() const override { return 0; }
    bool eof() const override { return _isAtEnd; }
    std::string path() const override { return {}; }

 private:
    QIODevice& _device;
    QByteArray _mapped;
    bool _isAtEnd = false;
};

}  // namespace decoder
