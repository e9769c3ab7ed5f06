// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/ContainerChunks.h"

#include "decoder/ByteReader.h"
#include "decoder/InputDevice.h"

#include <algorithm>

namespace decoder {

namespace {

constexpr int kMaximumChunks = 256;
constexpr qsizetype kMaximumBlock = 1 << 16;  // bytes of an EXIF block

ContainerChunks readPngChunks(const InputDevice& device) {
    ContainerChunks chunks;
    qint64 at = 8;
    for (int i = 0; i < kMaximumChunks; ++i) {
        const QByteArray header = device.bytesAt(at, 8);
        const auto length = ByteReader(header).u32(0);
        if (header.size() < 8)
            break;
        if (!header.endsWith("IDAT") && at + 8 + qint64(*length) > device.size())
            chunks.areCut = true;
        if (header.endsWith("tRNS"))
            chunks.hasClearColour = true;
        if (header.endsWith("eXIf"))
            chunks.exif = device.bytesAt(at + 8, std::min<qsizetype>(*length, kMaximumBlock));
        at += 12 + qint64(*length);
    }
    return chunks;
}

ContainerChunks readWebpChunks(const InputDevice& device) {
    ContainerChunks chunks;
    qint64 at = 12;
    for (int i = 0; i < kMaximumChunks; ++i) {
        const QByteArray header = device.bytesAt(at, 8);
        const auto length = ByteReader(header, ByteOrder::little).u32(4);
        if (!length)
            break;
        if (header.startsWith("EXIF")) {
            chunks.exif = device.bytesAt(at + 8, std::min<qsizetype>(*length, kMaximumBlock));
            if (chunks.exif.startsWith("Exif"))  // some writers keep JPEG's introduction
                chunks.exif.remove(0, 6);
        }
        at += 8 + qint64(*length) + qint64(*length & 1);
    }
    return chunks;
}

}  // namespace

ContainerChunks readContainerChunks(const InputDevice& device, Format format) {
    switch (format) {
        case Format::png:
            return readPngChunks(device);
        case Format::webp:
            return readWebpChunks(device);
        default:
            return {};
    }
}

}  // namespace decoder
