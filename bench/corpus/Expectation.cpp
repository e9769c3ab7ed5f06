// SPDX-License-Identifier: GPL-3.0-or-later
#include "corpus/Expectation.h"

#include <QColor>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPainter>
#include <QProcess>
#include <QTemporaryDir>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr int programPatience = 60'000;  // milliseconds

/// Pictures are compared at this many pixels a side, over grey, where the loaders' rounding and the scaling's
/// differences have averaged out. A wrong orientation, channel order, profile or alpha has not.
constexpr int comparedSide = 32;
constexpr double largestMean = 5;   // of 255, a channel
constexpr double largestCell = 48;  // of 255, of any cell and channel

QImage comparable(const QImage& image) {
    QImage canvas(comparedSide, comparedSide, QImage::Format_RGB32);
    canvas.fill(QColor(128, 128, 128));
    const QImage scaled = image.convertToFormat(QImage::Format_ARGB32_Premultiplied)
                              .scaled(canvas.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    {
        QPainter painter(&canvas);
        painter.drawImage(0, 0, scaled);
    }
    return canvas;
}

struct Distance {
    double mean = 0;
    double cell = 0;
    bool isSmall() const { return mean <= largestMean && cell <= largestCell; }
};

Distance distance(const QImage& a, const QImage& b) {
    const QImage left = comparable(a);
    const QImage right = comparable(b);
    Distance result;
    for (int y = 0; y < comparedSide; ++y) {
        for (int x = 0; x < comparedSide; ++x) {
            const QRgb p = left.pixel(x, y);
            const QRgb q = right.pixel(x, y);
            for (const int difference : {qRed(p) - qRed(q), qGreen(p) - qGreen(q), qBlue(p) - qBlue(q)}) {
                result.mean += std::abs(difference) / (3.0 * comparedSide * comparedSide);
                result.cell = std::max<double>(result.cell, std::abs(difference));
            }
        }
    }
    return result;
}

QImage madeBy(const QString& program, const QStringList& arguments, const QString& output) {
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments);
    if (!process.waitForFinished(programPatience) || process.exitCode() != 0)
        return {};
    return QImage(output, "png");
}

/// The encoding's exponent in a PNG (0.45455 for a usual one), which neither of the programs applies of
/// itself; 0 where there is none.
double gammaOf(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray head = file.read(1024);
    const qsizetype chunk = head.startsWith("\x89PNG") ? head.indexOf("gAMA") : -1;
    if (chunk < 0 || chunk + 8 > head.size())
        return 0;
    return qFromBigEndian<quint32>(head.constData() + chunk + 4) / 100'000.0;
}

std::optional<int> number(const platform::PropertyDictionary& properties, const QString& key) {
    const auto found =
        std::ranges::find(properties, key, &std::pair<QString, platform::PropertyValue>::first);
    if (found == properties.end())
        return std::nullopt;
    const auto* value = std::get_if<std::int64_t>(&found->second.variant());
    return value ? std::optional(int(*value)) : std::nullopt;
}

/// Good files that neither of the two programs shows rightly: what does instead, and why they do not. Each
/// was looked at.
struct Judged {
    const char* name;
    const char* command;  ///< {stem} is the file's name without its suffix
    const char* reason;
};
constexpr std::array<Judged, 6> judged{{
    {"ArcTriomphe-cHRM-red-green-swap.png", "convert {stem}-reference.png {output}",
     "neither heeds a PNG's cHRM; what the file's makers expect lies beside it"},
    {"colors-animated-8bpc-alpha-exif-xmp.avif", "avifdec {file} {output}",
     "ImageMagick reads a sequence without its alpha, libvips not at all"},
    {"animation_newtons_cradle_input.jxl", "djxl {file} {output}",
     "libvips shows another frame than the first"},
    {"issue_1455_undersized.gif", "convert {file}[0] -coalesce {output}",
     "a frame belongs on its canvas, and that in the background's colour (GIF 89a, 18)"},
    {"bmp_v5_with_icc.ico", "convert {file} -alpha off {output}",
     "it ends with its profile and has no mask; both take the profile for one"},
    {"multiple_entries_with_different_bit_depth.ico", "convert {file}[5] {output}",
     "both show the first picture, not the largest and deepest"},
}};

const Judged* judgementOf(const QString& path) {
    const auto found = std::ranges::find_if(
        judged, [&](const Judged& one) { return path.endsWith(QLatin1StringView(one.name)); });
    return found == judged.end() ? nullptr : &*found;
}

QString sizeText(QSize size) {
    return QStringLiteral("%1 x %2").arg(size.width()).arg(size.height());
}

QString wrongMetadata(const CorpusFile& file) {
    if (!file.properties)
        return QStringLiteral("no metadata");
    const auto width = number(*file.properties, QStringLiteral("PixelWidth"));
    const auto height = number(*file.properties, QStringLiteral("PixelHeight"));
    if (!width || !height)
        return {};  // a drawing has none
    const QSize stored(*width, *height);
    const QSize size = file.picture->fullSize;
    return stored == size || stored == size.transposed()
               ? QString()
               : QStringLiteral("metadata say %1, the picture is %2").arg(sizeText(stored), sizeText(size));
}

}  // namespace

Manifest Manifest::read(const QString& folder) {
    Manifest manifest;
    QFile file(QDir(folder).filePath(QStringLiteral("manifest.tsv")));
    if (!file.open(QIODevice::ReadOnly))
        return manifest;
    file.readLine();  // the columns' names
    while (!file.atEnd()) {
        const QString name = QString::fromUtf8(file.readLine()).section(u'\t', 0, 0).trimmed();
        const QString path = QDir(folder).filePath(name);
        if (name.isEmpty())
            continue;
        if (!QFileInfo::exists(path))
            manifest._missing.append(path);
        else if (name.startsWith(QStringLiteral("good/")))
            manifest._good.insert(path);
    }
    return manifest;
}

bool isShownFormat(const QString& path) {
    static const QSet<QString> suffixes = [] {
        const QString all = QStringLiteral(
            "jpg jpeg png gif webp tif tiff bmp ico pbm pgm ppm svg svgz "
            "heic heif avif avifs jxl dng nef cr2 cr3 arw raf rw2 orf");
        const QStringList list = all.split(u' ');
        return QSet<QString>(list.cbegin(), list.cend());
    }();
    return suffixes.contains(QFileInfo(path).suffix().toLower());
}

QString judgedFor(const QString& path) {
    const Judged* judgement = judgementOf(path);
    return judgement ? QString::fromLatin1(judgement->reason) : QString();
}

std::vector<ReferencePicture> referencesFor(const QString& path) {
    const QTemporaryDir folder;
    const QString output = folder.filePath(QStringLiteral("reference.png"));
    std::vector<ReferencePicture> references;
    const auto take = [&](const QString& program, const QStringList& arguments) {
        QImage image = madeBy(program, arguments, output);
        if (!image.isNull())
            references.push_back({program, std::move(image)});
        QFile::remove(output);
    };
    if (const Judged* judgement = judgementOf(path)) {
        QStringList words = QString::fromLatin1(judgement->command).split(u' ');
        words.replaceInStrings(QStringLiteral("{stem}"), path.left(path.lastIndexOf(u'.')))
            .replaceInStrings(QStringLiteral("{file}"), path)
            .replaceInStrings(QStringLiteral("{output}"), output);
        const QString program = words.takeFirst();
        take(program, words);
        if (references.empty())  // or it would count as right for want of a program
            references.push_back({program, {}});
        return references;
    }
    const QStringList whole{path, QStringLiteral("--size"), QStringLiteral("16384x16384>"),
                            QStringLiteral("-o"), output};
    const QString convert = QStringLiteral("convert");
    const QStringList first{path + QStringLiteral("[0]"), QStringLiteral("-auto-orient")};
    const QStringList last{QStringLiteral("-colorspace"), QStringLiteral("sRGB"), QStringLiteral("-strip"),
                           QStringLiteral("PNG32:") + output};
    take(QStringLiteral("vipsthumbnail"),
         whole + QStringList{QStringLiteral("--export-profile"), QStringLiteral("srgb")});
    take(QStringLiteral("vipsthumbnail"), whole);
    take(convert, first + last);
    if (const double gamma = gammaOf(path); gamma > 0)
        take(convert,
             first +
                 QStringList{QStringLiteral("-channel"), QStringLiteral("RGB"), QStringLiteral("-evaluate"),
                             QStringLiteral("pow"), QString::number(1 / gamma), QStringLiteral("+channel"),
                             QStringLiteral("-set"), QStringLiteral("colorspace"), QStringLiteral("RGB")} +
                 last);
    return references;
}

QString mismatch(const CorpusFile& file, const std::vector<ReferencePicture>& references) {
    if (!file.picture)
        return QStringLiteral("no picture");
    const QSize size = file.picture->fullSize;
    QStringList differences;
    for (const ReferencePicture& reference : references) {
        const Distance found = distance(file.picture->image, reference.image);
        if (reference.image.size() == size && found.isSmall())
            return wrongMetadata(file);
        differences.append(QStringLiteral("%1 has %2, mean distance %3, largest %4")
                               .arg(reference.program, sizeText(reference.image.size()))
                               .arg(found.mean, 0, 'f', 1)
                               .arg(found.cell));
    }
    if (references.empty())
        return wrongMetadata(file);
    return sizeText(size) + QStringLiteral(", but ") + differences.join(QStringLiteral("; "));
}
