// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/packing/PackedProperties.h"
#include "platform/imaging/DecodeThreads.h"
#include "testing/LogLines.h"
#include "testing/NoThreads.h"
#include "testing/ProcessFigures.h"
#include "testing/TestFiles.h"
#include "testing/TestMain.h"

#include <QImage>
#include <QProcess>
#include <QStandardPaths>

#include <memory>
#include <vector>

using namespace platform;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

constexpr auto kPatience = 20s;  // for what must not depend on the machine's speed
const DecodeRequest kProperties{DecodeRequest::Kind::properties, -1, 1};

QByteArray number(quint32 value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

/// "key = description", or "NSArray key = description" for what is neither text nor number.
QStringList lines(const PropertyDictionary& properties) {
    QStringList all;
    for (const auto& [key, value] : properties) {
        const QString kind = value.className();
        if (value.dictionary())
            all += lines(value.dictionary()->entries);
        else
            all += (kind.endsWith(u"Array") ? kind + u' ' : QString()) + key + u" = "_s + value.description();
    }
    return all;
}

const QByteArray kSvg(
    "<?xml version='1.0'?><svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 6 9' height='4px'/>");

/// A BigTIFF's first directory, without pixels.
QByteArray bigTiff() {
    QByteArray bytes("II\x2b\0\x08\0\0\0\x10\0\0\0\0\0\0\0\x04\0\0\0\0\0\0\0", 24);
    const auto entry = [&](quint32 tag, quint32 value) {
        bytes += number(tag | 3U << 16) + number(1) + number(0) + number(value) + number(0);
    };
    for (const auto& [tag, value] : {std::pair(256U, 6U), {257, 4}, {258, 8}, {262, 2}})
        entry(tag, value);
    return bytes + QByteArray(8, '\0');
}

}  // namespace

/// The metadata's way from a file into the program.
class PropertiesTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void packedPropertiesComeBack() {
        PropertyValue::Array plain{{PropertyValue(100), PropertyValue(0.5)}, PropertyValue::ArrayKind::plain};
        PropertyDictionary inner{{u"ISO"_s, plain}};
        PropertyDictionary whole{{u"ä"_s, u"a\nb\u202e"_s},
                                 {u"{Exif}"_s, PropertyValue::Dictionary{inner}},
                                 {u"not finite"_s, PropertyValue(qInf())}};
        const auto back = decoder::unpackProperties(decoder::packProperties(whole));
        QVERIFY(back);
        QCOMPARE(lines(*back), QStringList({u"ä = a b "_s, u"NSArray ISO = (100, 0.5)"_s}));

        whole.assign(100, {u"long"_s, QString(100'000, u'x')});
        const QByteArray bytes = decoder::packProperties(whole);
        QVERIFY(decoder::unpackProperties(bytes));
        QVERIFY(quint64(bytes.size()) <= decoder::kMaximumPackedProperties && bytes.size() > 900'000);
    }

    void hostileBytes_data() {
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray key = number(1) + "k";
        QByteArray deep;
        for (int i = 0; i < 10'000; ++i)
            deep += number(1) + key + "d";
        const auto row = [](const char* name, const QByteArray& bytes) {
            QTest::newRow(name) << bytes;
        };
        row("nothing", {});
        row("too deep", deep);
        row("more entries than bytes", number(0xffffffff) + key + "i12345678");
        row("too many values", number(1) + key + "a" + number(20'000) + ("t" + number(0)).repeated(20'000));
        row("text beyond the end", number(1) + number(0xfffffff0) + "k");
        row("unknown kind", number(1) + key + "?12345678");
        row("infinite number", number(1) + key + "f" + QByteArray::fromHex("000000000000f07f"));
        row("something after", number(0) + "x");
    }
    void hostileBytes() {
        QFETCH(QByteArray, bytes);
        QVERIFY(!decoder::unpackProperties(bytes));
    }

    /// What is asked of the files of a volume that goes is answered, begun or not, and none of them stays
    /// open.
    void releasedFiles() {
        const QString folder = path(u"volume"_s);
        QVERIFY(QDir().mkdir(folder));
        QVERIFY(QFile::link(QStringLiteral(TAVLIN_BUILD_DIR "/tests/platform/imaging/hostile_decoder"),
                            path(u"hangs"_s)));
        DecodeThreads threads(path(u"hangs"_s), 1);
        std::vector<std::unique_ptr<DecodeTask>> tasks;
        for (const QString& name : {u"volume/running"_s, u"volume/waiting"_s, u"volume 2"_s}) {
            writeFile(path(name), {});
            tasks.push_back(std::make_unique<DecodeTask>(threads, path(name), kProperties, kPatience));
        }
        QTRY_COMPARE(ProcessFigures::openFilesBelow(folder), 1);
        DecodeThreads::releaseFilesBelow(folder, std::chrono::steady_clock::now() + 40ms);
        QTRY_COMPARE(ProcessFigures::openFilesBelow(folder), 0);
        for (const std::size_t dropped : {0, 1}) {
            QVERIFY(tasks[dropped]->waitFor(kPatience));
            QCOMPARE(std::get<DecodeFailure>(tasks[dropped]->takeResult()).error, DecodeError::cancelled);
        }
        QVERIFY(!tasks[2]->isFinished());
    }

    /// Each question is answered, and one line tells why; with a thread again, they are served.
    void askedWithoutThreads() {
        writeFile(path(u"text"_s), "no picture");
        LogLines log;
        auto none = std::make_unique<NoThreads>();
        DecodeThreads threads(QStringLiteral(TAVLIN_BUILD_DIR "/libexec/tavlin/tavlin-decoder"), 1);
        for (const auto expected :
             {DecodeError::unavailable, DecodeError::unavailable, DecodeError::notImage}) {
            if (expected == DecodeError::notImage)
                none.reset();
            DecodeTask task(threads, path(u"text"_s), kProperties, kPatience);
            QVERIFY(task.waitFor(kPatience));
            QCOMPARE(std::get<DecodeFailure>(task.takeResult()).error, expected);
        }
        QCOMPARE(log.taken().filter(u"no thread to decode"_s).size(), 1);
    }

    void ofRealFiles_data() {
        const Table<QString, QStringList, QStringList> columns("file", "arguments", "expected");
        const auto row = [](const char* name, const char* file, const QString& arguments,
                            const QString& expected) {
            QTest::newRow(name) << QString::fromLatin1(file) << arguments.split(u'|', Qt::SkipEmptyParts)
                                << expected.split(u'|');
        };
        const QString general = u"PixelWidth = 6|PixelHeight = 4|ColorModel = RGB|Depth = 8"_s;
        row("JPEG", "a.jpg", {}, general + u"|HasAlpha = 0"_s);
        row("PNG with alpha", "a.png", {}, general + u"|HasAlpha = 1"_s);
        for (const char* file : {"a.ico", "a.ppm", "a.bmp", "a.webp", "a.tif", "big.tif", "a.svg"})
            row(file, file, {}, general);
        const QString coded = u"PixelWidth = 64|PixelHeight = 48|ColorModel = RGB|Depth = 8|HasAlpha = 0"_s;
        const QString otherSides = u"-ExifImageWidth=99|-ExifImageHeight=88"_s;
        row("HEIC whose EXIF tells other sides", "quadrants.heic", otherSides, coded);
        row("AVIF whose EXIF tells other sides", "quadrants.avif", otherSides, coded);
        row("JPEG XL", "quadrants.jxl", {}, coded);
        row("orientation that there is none of", "a.jpg", u"-Orientation#=0"_s, u"Orientation = 0"_s);
        row("exposure", "a.jpg",
            u"-ExposureTime=1/250|-FNumber=2.8|-ISO=6000|-LensModel=50mm|-LensInfo=24 70 undef undef|"
            "-FocalLength=0|-SubjectArea=1 2 3|-Orientation#=6|-UserComment=Grüße|"
            "-DateTimeOriginal=2024:02:03 04:05:06"_s,
            u"ExposureTime = 0.004|FNumber = 2.8|NSArray ISOSpeedRatings = (6000)|LensModel = 50mm|"
            "NSArray LensSpecification = (24, 70)|FocalLength = 0|NSArray SubjectArea = (1, 2, 3)|"
            "Orientation = 6|UserComment = Grüße|DateTimeOriginal = 2024:02:03 04:05:06"_s);
        const QString captions =
            u"-IPTC:Caption-Abstract=Schöne Grüße|-IPTC:Keywords=eins|-IPTC:Keywords=zwei|"
            "-IPTC:City=Köln|-IPTC:DateCreated=2010:05:01"_s;
        const QString captionLines =
            u"Caption/Abstract = Schöne Grüße|NSCFArray Keywords = (eins, zwei)|"
            "City = Köln|DateCreated = 20100501"_s;
        row("IPTC in Latin-1", "a.jpg", captions, captionLines);
        row("IPTC in UTF-8", "a.jpg", captions + u"|-CodedCharacterSet=UTF8"_s, captionLines);
    }
    void ofRealFiles() {
        QFETCH(QString, file);
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, expected);
        QImage image(6, 4, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        const QString picture = path(QString::number(qHash(QTest::currentDataTag())) + file);
        const QString ready = QStringLiteral(TAVLIN_SOURCE_DIR "/tests/data/") + file;
        if (file == u"big.tif" || file == u"a.svg")
            writeFile(picture, file == u"a.svg" ? kSvg : bigTiff());
        else
            QVERIFY(QFile::exists(ready) ? QFile::copy(ready, picture) : image.save(picture));
        if (!arguments.isEmpty()) {
            if (QStandardPaths::findExecutable(u"exiftool"_s).isEmpty())
                QSKIP("there is no exiftool to write the metadata");
            QCOMPARE(QProcess::execute(u"exiftool"_s, QStringList{u"-q"_s, u"-charset"_s, u"UTF8"_s} +
                                                          arguments + QStringList{picture}),
                     0);
        }
        DecodeThreads threads(QStringLiteral(TAVLIN_BUILD_DIR "/libexec/tavlin/tavlin-decoder"), 1);
        DecodeTask task(threads, picture, kProperties, kPatience);
        QVERIFY(task.waitFor(kPatience));
        const DecodeResult result = task.takeResult();
        QVERIFY(std::holds_alternative<DecodedProperties>(result));
        const QStringList found = lines(std::get<DecodedProperties>(result).properties);
        for (const QString& line : expected)
            QVERIFY2(found.contains(line), qPrintable(line + u" is not in "_s + found.join(u'\n')));
    }

 private:
    QString path(const QString& name) const { return _folder.filePath(name); }
    QTemporaryDir _folder;
};

TAVLIN_TEST_MAIN(QCoreApplication, PropertiesTest)
#include "PropertiesTest.moc"
