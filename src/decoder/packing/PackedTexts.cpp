// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/packing/PackedTexts.h"

#include "decoder/protocol/Protocol.h"

#include <cstring>

namespace decoder {

namespace {

void appendNumber(QByteArray& bytes, std::size_t number) {
    const auto value = static_cast<std::uint32_t>(number);
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

std::optional<std::uint32_t> takeNumber(QByteArrayView& bytes) {
    std::uint32_t value = 0;
    if (bytes.size() < qsizetype(sizeof value))
        return std::nullopt;
    std::memcpy(&value, bytes.data(), sizeof value);
    bytes = bytes.sliced(sizeof value);
    return value;
}

}  // namespace

QByteArray packTexts(const Texts& texts) {
    QByteArray packed;
    std::size_t count = 0;
    for (auto text = texts.cbegin(); text != texts.cend() && count < kMaximumTexts; ++text) {
        if (static_cast<std::size_t>(text.key().size() + text.value().size()) > kMaximumTextBytes)
            continue;
        appendNumber(packed, static_cast<std::size_t>(text.key().size()));
        appendNumber(packed, static_cast<std::size_t>(text.value().size()));
        packed.append(text.key()).append(text.value());
        ++count;
    }
    return packed;
}

std::optional<Texts> unpackTexts(QByteArrayView bytes) {
    Texts texts;
    for (std::size_t count = 0; !bytes.isEmpty(); ++count) {
        const auto keySize = takeNumber(bytes);
        const auto textSize = takeNumber(bytes);
        if (count == kMaximumTexts || !keySize || !textSize || *keySize > kMaximumTextBytes ||
            *textSize > kMaximumTextBytes - *keySize ||
            qsizetype(*keySize) + qsizetype(*textSize) > bytes.size())
            return std::nullopt;
        texts.insert(bytes.first(*keySize).toByteArray(), bytes.sliced(*keySize, *textSize).toByteArray());
        bytes = bytes.sliced(qsizetype(*keySize) + qsizetype(*textSize));
    }
    return texts;
}

}  // namespace decoder
