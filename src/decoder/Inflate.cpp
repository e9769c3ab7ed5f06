// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/Inflate.h"

#include <zlib.h>

#include <algorithm>

namespace decoder {

namespace {

constexpr int kGzipWindow = 16 + MAX_WBITS;
constexpr qsizetype kStep = 1 << 16;

struct Inflated {
    QByteArray bytes;
    bool whole = false;
};

Inflated inflateUpTo(QByteArrayView packed, qsizetype maximum) {
    z_stream stream{};
    Inflated result;
    if (::inflateInit2(&stream, kGzipWindow) != Z_OK)
        return result;
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    stream.avail_in = static_cast<uInt>(std::min<qsizetype>(packed.size(), 1 << 30));
    int state = Z_OK;
    while (state == Z_OK && result.bytes.size() < maximum) {
        const qsizetype before = result.bytes.size();
        const qsizetype room = std::min(kStep, maximum - before);
        result.bytes.resize(before + room);
        stream.next_out = reinterpret_cast<Bytef*>(result.bytes.data() + before);
        stream.avail_out = static_cast<uInt>(room);
        state = ::inflate(&stream, Z_NO_FLUSH);
        result.bytes.truncate(before + room - qsizetype(stream.avail_out));
    }
    result.whole = state == Z_STREAM_END;
    ::inflateEnd(&stream);
    return result;
}

}  // namespace

QByteArray inflateStart(QByteArrayView packed, qsizetype maximum) {
    return inflateUpTo(packed, maximum).bytes;
}

std::optional<QByteArray> inflateWhole(QByteArrayView packed, qsizetype maximum) {
    Inflated inflated = inflateUpTo(packed, maximum + 1);
    if (!inflated.whole || inflated.bytes.size() > maximum)
        return std::nullopt;
    return std::move(inflated.bytes);
}

}  // namespace decoder
