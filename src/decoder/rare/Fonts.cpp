// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/rare/Fonts.h"

#include <QFile>
#include <QFontDatabase>
#include <QSet>

#include <fontconfig/fontconfig.h>
#include <sys/mman.h>

#include <array>
#include <memory>

namespace decoder {

namespace {

// In the notation of the system's patterns. What drawings name most often, and scripts that those fonts may
// lack.
constexpr std::array kFamilies{"sans-serif", "serif", "monospace", "Arial", "Times New Roman", "Courier New"};
constexpr std::array kStyles{"", ":bold", ":italic", ":bold:italic"};
constexpr std::array kScripts{"zh-cn", "ja", "ko", "ar", "he", "hi", "th"};

/// The file of the system's font for a pattern; empty without any.
QByteArray fileFor(const QByteArray& pattern) {
    using Pattern = std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)>;
    const Pattern wanted(FcNameParse(reinterpret_cast<const FcChar8*>(pattern.constData())),
                         &FcPatternDestroy);
    FcConfigSubstitute(nullptr, wanted.get(), FcMatchPattern);
    FcDefaultSubstitute(wanted.get());
    FcResult result = FcResultMatch;
    const Pattern found(FcFontMatch(nullptr, wanted.get(), &result), &FcPatternDestroy);
    FcChar8* file = nullptr;
    return found && FcPatternGetString(found.get(), FC_FILE, 0, &file) == FcResultMatch
               ? QByteArray(reinterpret_cast<const char*>(file))
               : QByteArray();
}

/// The family then is the one in memory for the toolkit; it stays mapped for the process's life.
void load(const QByteArray& path) {
    QFile file(QFile::decodeName(path));
    if (!file.open(QIODevice::ReadOnly))
        return;
    void* bytes =
        ::mmap(nullptr, static_cast<std::size_t>(file.size()), PROT_READ, MAP_PRIVATE, file.handle(), 0);
    if (bytes != MAP_FAILED)
        QFontDatabase::addApplicationFontFromData(
            QByteArray::fromRawData(static_cast<const char*>(bytes), static_cast<qsizetype>(file.size())));
}

}  // namespace

void loadFonts() {
    QSet<QByteArray> files;
    for (const char* family : kFamilies)
        for (const char* style : kStyles)
            files.insert(fileFor(QByteArray(family) + style));
    for (const char* script : kScripts)
        files.insert(fileFor(QByteArrayLiteral("sans-serif:lang=") + script));
    QFontDatabase::families();  // the toolkit lists the system's fonts first, or these would be replaced
    for (const QByteArray& file : files)
        load(file);
}

}  // namespace decoder
