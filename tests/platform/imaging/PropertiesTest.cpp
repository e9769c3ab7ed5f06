// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/protocol/PackedProperties.h"
#include "platform/imaging/DecodeThreads.h"
#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QImage>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <algorithm>
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
            all += (kind.endsWith(u"Array") ? kind + u' ' : QString()) + key + QStringLiteral(" = ") +
                   value.description();
    }
    return all;
}

QByteArray svg() {
    return "<?xml version='1.0'?><svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 6 9' height='4px'/>";
}

/// A BigTIFF's first directory, without pixels.
QByteArray bigTiff() {
    QByteArray bytes("II\x2b\0\x08\0\0\0\x10\0\0\0\0\0\0\0\x04\0\0\0\0\0\0\0", 24);
    const auto entry = [&](quint32 tag, quint32 value) {
        bytes += number(tag | 3U << 16) + number(1) + number(0) + number(value) + number(0);
    };
    entry(256, 6);
    entry(257, 4);
    entry(258, 8);
    entry(262, 2);
    return bytes + QByteArray(8, '\0');
}

}  // namespace

/// The metadata's way from a file into the program.
class PropertiesTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void packedPropertiesComeBack();
    void hostileBytes_data();
    void hostileBytes();
    void releasedFiles();
    void lyingDecoders_data();
    void lyingDecoders();
    void ofRealFiles_data();
    void ofRealFiles();

 private:
    QString path(const QString& name) const { return _folder.filePath(name); }
    QString hostile(const char* mode) const {
        QFile::link(QStringLiteral(TAVLIN_BUILD_DIR "/tests/platform/imaging/hostile_decoder"),
                    path(QString::fromLatin1(mode)));
        return path(QString::fromLatin1(mode));
    }
    QTemporaryDir _folder;
};

void PropertiesTest::packedPropertiesComeBack() {
    PropertyValue::Array plain{{PropertyValue(100), PropertyValue(0.5)}, PropertyValue::ArrayKind::plain};
    PropertyDictionary inner{{QStringLiteral("ISO"), plain}};
    PropertyDictionary whole{{QStringLiteral("ä"), QStringLiteral("a\nb\u202e")},
                             {QStringLiteral("{Exif}"), PropertyValue::Dictionary{inner}},
                             {QStringLiteral("not finite"), PropertyValue(qInf())}};
    const auto back = decoder::unpackProperties(decoder::packProperties(whole));
    QVERIFY(back);
    QCOMPARE(lines(*back),
             QStringList({QStringLiteral("ä = a b "), QStringLiteral("NSArray ISO = (100, 0.5)")}));

    whole.assign(100, {QStringLiteral("long"), QString(100'000, u'x')});
    const QByteArray bytes = decoder::packProperties(whole);
    QVERIFY(decoder::unpackProperties(bytes));
    QVERIFY(quint64(bytes.size()) <= decoder::kMaximumPackedProperties && bytes.size() > 900'000);
}

void PropertiesTest::hostileBytes_data() {
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

void PropertiesTest::hostileBytes() {
    QFETCH(QByteArray, bytes);
    QVERIFY(!decoder::unpackProperties(bytes));
}

void PropertiesTest::lyingDecoders_data() {
    QTest::addColumn<DecodeError>("expected");
    QTest::newRow("right") << DecodeError::badAnswer;  // for a picture, which this is not
    for (const char* mode : {"garbled-properties", "huge-properties", "unsealed-properties"})
        QTest::newRow(mode) << DecodeError::badAnswer;
    QTest::newRow("hangs") << DecodeError::timedOut;
}

void PropertiesTest::lyingDecoders() {
    QFETCH(DecodeError, expected);
    const QByteArray mode = QTest::currentDataTag();
    DecodeThreads threads(hostile(mode.constData()), 1);
    DecodeTask task(threads, QCoreApplication::applicationFilePath(), kProperties,
                    mode == "hangs" ? 300ms : std::chrono::milliseconds(kPatience));
    QSignalSpy finished(&task, &DecodeTask::finished);
    QVERIFY(task.waitFor(kPatience));
    const DecodeResult result = task.takeResult();
    QVERIFY(std::holds_alternative<DecodeFailure>(result));
    QCOMPARE(std::get<DecodeFailure>(result).error, expected);
    QTRY_COMPARE(finished.count(), 1);
}

/// What is asked of the files of a volume that goes is answered, begun or not, and none of them stays open.
void PropertiesTest::releasedFiles() {
    const QString folder = path(u"volume"_s);
    QVERIFY(QDir().mkdir(folder));
    DecodeThreads threads(hostile("hangs"), 1);
    std::vector<std::unique_ptr<DecodeTask>> tasks;
    for (const QString& name : {u"volume/running"_s, u"volume/waiting"_s, u"volume 2"_s}) {
        QFile file(_folder.filePath(name));
        QVERIFY(file.open(QFile::WriteOnly));
        tasks.push_back(std::make_unique<DecodeTask>(threads, file.fileName(), kProperties, kPatience));
    }
    const auto isOpen = [&] {
        const QStringList descriptors = QDir(u"/proc/self/fd"_s).entryList(QDir::Files | QDir::System);
        return std::ranges::any_of(descriptors, [&](const QString& each) {
            return QFile::symLinkTarget(u"/proc/self/fd/"_s + each).startsWith(folder + u'/');
        });
    };
    QTRY_VERIFY(isOpen());
    DecodeThreads::releaseFilesBelow(folder);
    QTRY_VERIFY(!isOpen());
    for (const std::size_t dropped : {0, 1}) {
        QVERIFY(tasks[dropped]->waitFor(kPatience));
        QCOMPARE(std::get<DecodeFailure>(tasks[dropped]->takeResult()).error, DecodeError::cancelled);
    }
    QVERIFY(!tasks[2]->isFinished());
}

void PropertiesTest::ofRealFiles_data() {
    QTest::addColumn<QString>("file");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("expected");
    const auto row = [](const char* name, const char* file, const QStringList& arguments,
                        const QStringList& expected) {
        QTest::newRow(name) << QString::fromLatin1(file) << arguments << expected;
    };
    const QStringList general{QStringLiteral("PixelWidth = 6"), QStringLiteral("PixelHeight = 4"),
                              QStringLiteral("ColorModel = RGB"), QStringLiteral("Depth = 8")};
    row("JPEG", "a.jpg", {}, general + QStringList{QStringLiteral("HasAlpha = 0")});
    row("PNG with alpha", "a.png", {}, general + QStringList{QStringLiteral("HasAlpha = 1")});
    for (const char* file : {"a.ico", "a.ppm", "a.bmp", "a.webp", "a.tif", "big.tif", "a.svg"})
        row(file, file, {}, general);
    const QStringList codedSides{QStringLiteral("PixelWidth = 64"), QStringLiteral("PixelHeight = 48"),
                                 QStringLiteral("ColorModel = RGB"), QStringLiteral("Depth = 8"),
                                 QStringLiteral("HasAlpha = 0")};
    const QStringList otherSides{QStringLiteral("-ExifImageWidth=99"), QStringLiteral("-ExifImageHeight=88")};
    row("HEIC whose EXIF tells other sides", "quadrants.heic", otherSides, codedSides);
    row("AVIF whose EXIF tells other sides", "quadrants.avif", otherSides, codedSides);
    row("JPEG XL", "quadrants.jxl", {}, codedSides);
    row("orientation that there is none of", "a.jpg", {QStringLiteral("-Orientation#=0")},
        {QStringLiteral("Orientation = 0")});
    row("exposure", "a.jpg",
        {QStringLiteral("-ExposureTime=1/250"), QStringLiteral("-FNumber=2.8"), QStringLiteral("-ISO=6000"),
         QStringLiteral("-LensModel=50mm"), QStringLiteral("-LensInfo=24 70 undef undef"),
         QStringLiteral("-FocalLength=0"), QStringLiteral("-SubjectArea=1 2 3"),
         QStringLiteral("-Orientation#=6"), QStringLiteral("-UserComment=Grüße"),
         QStringLiteral("-DateTimeOriginal=2024:02:03 04:05:06")},
        {QStringLiteral("ExposureTime = 0.004"), QStringLiteral("FNumber = 2.8"),
         QStringLiteral("NSArray ISOSpeedRatings = (6000)"), QStringLiteral("LensModel = 50mm"),
         QStringLiteral("NSArray LensSpecification = (24, 70)"), QStringLiteral("FocalLength = 0"),
         QStringLiteral("NSArray SubjectArea = (1, 2, 3)"), QStringLiteral("Orientation = 6"),
         QStringLiteral("UserComment = Grüße"), QStringLiteral("DateTimeOriginal = 2024:02:03 04:05:06")});
    const QStringList captions{QStringLiteral("-IPTC:Caption-Abstract=Schöne Grüße"),
                               QStringLiteral("-IPTC:Keywords=eins"), QStringLiteral("-IPTC:Keywords=zwei"),
                               QStringLiteral("-IPTC:City=Köln"),
                               QStringLiteral("-IPTC:DateCreated=2010:05:01")};
    const QStringList captionLines{QStringLiteral("Caption/Abstract = Schöne Grüße"),
                                   QStringLiteral("NSCFArray Keywords = (eins, zwei)"),
                                   QStringLiteral("City = Köln"), QStringLiteral("DateCreated = 20100501")};
    row("IPTC in Latin-1", "a.jpg", captions, captionLines);
    row("IPTC in UTF-8", "a.jpg", captions + QStringList{QStringLiteral("-CodedCharacterSet=UTF8")},
        captionLines);
}

void PropertiesTest::ofRealFiles() {
    QFETCH(QString, file);
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, expected);
    QImage image(6, 4, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    const QString picture = path(QString::number(qHash(QTest::currentDataTag())) + file);
    const QString ready = QStringLiteral(TAVLIN_SOURCE_DIR "/tests/data/") + file;
    if (file == u"big.tif" || file == u"a.svg") {
        QFile made(picture);
        QVERIFY(made.open(QFile::WriteOnly) && made.write(file == u"a.svg" ? svg() : bigTiff()) > 0);
    } else {
        QVERIFY(QFile::exists(ready) ? QFile::copy(ready, picture) : image.save(picture));
    }
    if (!arguments.isEmpty()) {
        if (QStandardPaths::findExecutable(QStringLiteral("exiftool")).isEmpty())
            QSKIP("there is no exiftool to write the metadata");
        QCOMPARE(QProcess::execute(
                     QStringLiteral("exiftool"),
                     QStringList{QStringLiteral("-q"), QStringLiteral("-charset"), QStringLiteral("UTF8")} +
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
        QVERIFY2(found.contains(line), qPrintable(line + QStringLiteral(" is not in ") + found.join(u'\n')));
}

TAVLIN_TEST_MAIN(QCoreApplication, PropertiesTest)
#include "PropertiesTest.moc"
