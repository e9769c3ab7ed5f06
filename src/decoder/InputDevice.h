// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIODevice>

#include <array>
#include <cstdint>

namespace decoder {

/// Random access to an open file by pread(2): the descriptor's own offset, which the program shares, stays as
/// it is, and a file that is truncated meanwhile reads as ended. A device may show a part of the file only;
/// its offsets count from there. The descriptor is borrowed.
class InputDevice : public QIODevice {
    Q_OBJECT

 public:
    explicit InputDevice(int descriptor);
    /// The part of `file` from `start` on, `length` bytes or up to its end.
    InputDevice(const InputDevice& file, qint64 start, qint64 length);

    /// What tells whether a file is the same, and unchanged.
    using Identity = std::array<std::int64_t, 7>;
    Identity identity() const;
    qint64 size() const override { return _size; }
    /// The first bytes of the file, fewer when it is shorter.
    QByteArray head(qsizetype bytes) const;
    /// Reads as if the file began with these bytes, which are no more than it has.
    void replaceHead(const QByteArray& bytes) { _head = bytes; }
    /// `bytes` from `offset` on, fewer at the file's end.
    QByteArray bytesAt(qint64 offset, qsizetype bytes) const;
    /// The same into `data`; answers how many bytes they were, -1 on an error.
    qint64 readAt(qint64 offset, char* data, qint64 maximum) const;

 protected:
    qint64 readData(char* data, qint64 maximum) override;
    qint64 writeData(const char*, qint64) override { return -1; }

 private:
    int _descriptor;
    qint64 _start = 0;
    qint64 _size = 0;
    QByteArray _head;
};

}  // namespace decoder
