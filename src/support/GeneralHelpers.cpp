// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/GeneralHelpers.h"

#include "platform/desktop/UserDefaults.h"
#include "platform/PathBytes.h"
#include "platform/TemporaryFolder.h"
#include "support/Logging.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <sys/socket.h>

#include <QPainter>
#include <QPalette>
#include <QtMath>

#include <netinet/in.h>
#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>

using platform::PropertyDictionary;
using platform::PropertyValue;

namespace {

/// The address as numbers and dots or colons; a null string for another family's.
QString addressText(const sockaddr& address) {
    const socklen_t length = address.sa_family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
    std::array<char, NI_MAXHOST> text{};
    if (::getnameinfo(&address, length, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST) != 0)
        return {};
    return QString::fromLatin1(text.data());
}

PropertyValue mutableCopyOfDictionary(const PropertyValue::Dictionary& dictionary) {
    PropertyValue::Dictionary copy = dictionary;
    makeAllContainedDictionaryObjectsMutable(copy.entries);
    return copy;
}

}  // namespace

bool isIPv4AddressString(const std::optional<QString>& string) {
    constexpr const char* name = "isIPv4AddressString";
    std::array<char, 256> characters{};
    if (!string || !getCString(*string, characters.data(), characters.size())) {
        logWithMethodName(name, currentLine(),
                          u"Addressstring: %@ is no valid IPv4 address, illegal characters.", string);
        return false;
    }
    const bool hasInvalidCharacters = std::any_of(
        string->begin(), string->end(), [](QChar c) { return c != u'.' && (c < u'0' || c > u'9'); });
    if (hasInvalidCharacters)
        logWithMethodName(name, currentLine(),
                          u"Addressstring: %@ is no valid IPv4 address, invalid characters.", string);
    const QStringList pieces = string->split(u'.');
    if (pieces.size() != 4) {
        logWithMethodName(name, currentLine(),
                          u"Addressstring: %@ is no valid IPv4 address, wrong count of dots.", string);
        return false;
    }
    if (hasInvalidCharacters)
        return false;
    for (const QString& piece : pieces) {
        if (platform::integerReading(piece) >= 256) {
            logWithMethodName(name, currentLine(),
                              u"Addressstring: %@ is no valid IPv4 address, invalid numeric component.",
                              string);
            return false;
        }
    }
    logWithMethodName(name, currentLine(), u"Addressstring %@ is OK!", string);
    return true;
}

QStringList getAllAddresses() {
    ifaddrs* first = nullptr;
    if (::getifaddrs(&first) != 0)
        return {};
    std::vector<const ifaddrs*> interfaces;
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next)
        if (entry->ifa_addr != nullptr &&
            (entry->ifa_addr->sa_family == AF_INET || entry->ifa_addr->sa_family == AF_INET6))
            interfaces.push_back(entry);
    const auto rank = [](const ifaddrs* entry) {
        const int isLoopback = (entry->ifa_flags & IFF_LOOPBACK) != 0 ? 1 : 0;
        return 2 * isLoopback + (entry->ifa_addr->sa_family == AF_INET6 ? 1 : 0);
    };
    std::stable_sort(interfaces.begin(), interfaces.end(),
                     [&](const ifaddrs* a, const ifaddrs* b) { return rank(a) < rank(b); });
    QStringList addresses;
    for (const ifaddrs* entry : interfaces)
        if (const QString text = addressText(*entry->ifa_addr); !text.isNull())
            addresses += text;
    ::freeifaddrs(first);
    return addresses;
}

std::optional<QString> getPrimaryAddress() {
    const QStringList addresses = getAllAddresses();
    return addresses.isEmpty() ? std::nullopt : std::optional(addresses.first());
}

QStringList getAllIPv4Addresses() {
    QStringList addresses = getAllAddresses();
    for (qsizetype i = addresses.size(); i-- > 0;)
        if (i < addresses.size() && !isIPv4AddressString(addresses[i]))
            addresses.removeAll(QString(addresses[i]));
    return addresses;
}

QString urlencode(const QString& string) {
    return QString::fromLatin1(platform::bytesFromPath(string).toPercentEncoding("!$'()*+,/:;=?@", "&"));
}

QString urldecode(const QString& string) {
    const QByteArray escaped = platform::bytesFromPath(string);
    QByteArray bytes;
    for (qsizetype i = 0; i < escaped.size(); ++i) {
        const QByteArray digits = escaped.mid(i + 1, 2);
        const bool isEscape = escaped[i] == '%' && digits.size() == 2 &&
                              std::all_of(digits.begin(), digits.end(),
                                          [](char c) { return std::isxdigit(static_cast<uchar>(c)) != 0; });
        bytes += isEscape ? static_cast<char>(digits.toInt(nullptr, 16)) : escaped[i];
        i += isEscape ? 2 : 0;
    }
    return platform::pathFromBytes(bytes);
}

std::vector<PropertyValue> mutableCopyOfArray(const std::vector<PropertyValue>& array) {
    logWithMethodName("mutableCopyOfArray", currentLine(), u"Foo...");
    std::vector<PropertyValue> copy;
    for (const PropertyValue& element : array) {
        if (element.className() == u"NSCFArray")
            copy.emplace_back(PropertyValue::Array{mutableCopyOfArray(element.array()->elements)});
        else if (element.className() == u"NSCFDictionary")
            copy.push_back(mutableCopyOfDictionary(*element.dictionary()));
    }
    logWithMethodName("mutableCopyOfArray", currentLine(), u"...bar");
    return copy;
}

PropertyDictionary& makeAllContainedDictionaryObjectsMutable(PropertyDictionary& dictionary) {
    for (auto& [key, value] : dictionary) {
        if (value.className() == u"NSCFArray")
            value = PropertyValue::Array{mutableCopyOfArray(value.array()->elements)};
        else if (value.className() == u"NSCFDictionary")
            value = mutableCopyOfDictionary(*value.dictionary());
    }
    return dictionary;
}

QImage progressImageWithPercent(int percent, float width, float height) {
    QImage image(qCeil(width), qCeil(height), QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return image;
    image.fill(Qt::transparent);
    const QRectF whole(0, 0, width, height);
    const float progressWidth = static_cast<float>(percent) * width / 100.0F;
    const QRectF progress = QRectF(0, 0, progressWidth, height).adjusted(1, 1, -1, -1);

    QPainter painter(&image);
    painter.fillRect(whole, QColor::fromRgbF(2 / 3.F, 2 / 3.F, 2 / 3.F));
    painter.setPen(Qt::black);
    painter.drawRect(whole.adjusted(0, 0, -1, -1));
    if (progress.width() > 0 && progress.height() > 0)
        painter.fillRect(progress & whole, QPalette().color(QPalette::Highlight));
    return image;
}

QString getNewTempFolderPath() {
    const QString folder = platform::temporaryFolder();
    return folder.isNull() ? QStringLiteral("/tmp") : folder;
}

bool getCString(const QString& string, char* buffer, int maxLength) {
    const bool isAscii =
        std::all_of(string.begin(), string.end(), [](QChar c) { return c.unicode() < 0x80; });
    if (!isAscii || string.size() >= maxLength)
        return false;
    *std::transform(string.begin(), string.end(), buffer, [](QChar c) { return c.toLatin1(); }) = '\0';
    return true;
}
