// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/PictureNames.h"

#include <algorithm>
#include <array>

namespace platform {

NamedKind kindByName(QStringView name) {
    constexpr std::array<QStringView, 44> kExtensions{
        u"jpg", u"jpeg", u"jpe", u"jfif", u"png",  u"gif", u"webp", u"tif",  u"tiff", u"bmp", u"dib",
        u"ico", u"cur",  u"pbm", u"pgm",  u"ppm",  u"pnm", u"svg",  u"heic", u"heif", u"hif", u"avif",
        u"jxl", u"dng",  u"cr2", u"cr3",  u"nef",  u"nrw", u"arw",  u"sr2",  u"srf",  u"orf", u"ori",
        u"rw2", u"raf",  u"pef", u"srw",  u"svgz", u"3fr", u"erf",  u"mos",  u"mef",  u"iiq", u"rwl"};
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot <= 0 || dot == name.size() - 1)
        return NamedKind::unknown;
    const QStringView extension = name.sliced(dot + 1);
    const auto isSame = [&](QStringView known) {
        return extension.size() == known.size() && extension.compare(known, Qt::CaseInsensitive) == 0;
    };
    return std::ranges::any_of(kExtensions, isSame) ? NamedKind::picture : NamedKind::other;
}

}  // namespace platform
