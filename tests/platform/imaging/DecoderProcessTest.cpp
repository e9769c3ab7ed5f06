// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/confinement/Confinement.h"
#include "decoder/confinement/FileRights.h"
#include "decoder/packing/PackedTexts.h"
#include "decoder/protocol/SocketMessage.h"
#include "platform/FileAccess.h"
#include "platform/imaging/ChildProcess.h"
#include "platform/imaging/DecoderHealth.h"
#include "platform/imaging/DecoderProcess.h"
#include "platform/PathBytes.h"
#include "testing/ProcessFigures.h"
#include "testing/TestFiles.h"
#include "testing/TestMain.h"

#include <QColorSpace>
#include <QElapsedTimer>

#include <unistd.h>

#include <csignal>
#include <thread>

using namespace Qt::StringLiterals;
using namespace platform;
using namespace std::chrono_literals;

namespace {

const QString kHostile = QStringLiteral(TAVLIN_BUILD_DIR "/tests/platform/imaging/hostile_decoder");
constexpr auto kPatience = 20s;  // for what must not depend on the machine's speed

bool isPicture(const DecodeResult& result) {
    return std::holds_alternative<DecodedPicture>(result);
}

DecodeError errorOf(const DecodeResult& result) {
    const auto* failure = std::get_if<DecodeFailure>(&result);
    return failure ? failure->error : DecodeError(255);
}

/// A 64 × 48 picture: red, green / blue, yellow.
bool isQuadrants(const QImage& image) {
    const auto near = [&](int x, int y, QColor colour) {
        const QColor found = image.pixelColor(image.width() * x / 4, image.height() * y / 4);
        return std::abs(found.red() - colour.red()) < 12 && std::abs(found.green() - colour.green()) < 12 &&
               std::abs(found.blue() - colour.blue()) < 12;
    };
    return near(1, 1, QColor(220, 30, 30)) && near(3, 1, QColor(30, 200, 30)) &&
           near(1, 3, QColor(30, 30, 220)) && near(3, 3, QColor(240, 240, 40));
}

DecodeResult decode(DecoderProcess& process, int descriptor, int pixelSize) {
    return process.decode({DecodeRequest::Kind::thumbnail, descriptor, pixelSize}, kPatience);
}

}  // namespace

/// The supervision of decoders: what the program sees of good ones, dying ones and lying ones.
class DecoderProcessTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() {
        QImage image(800, 400, QImage::Format_RGB32);
        image.fill(QColor(200, 100, 50));
        image.setColorSpace(QColorSpace::AdobeRgb);  // is converted in threads, if the confinement lets them
        QVERIFY(image.save(path("picture.png")));
        QImage small(64, 48, QImage::Format_RGB32);
        small.fill(Qt::white);
        QVERIFY(small.save(path("small.png")));
        writeFile(path("broken.png"), readFile(path("picture.png")).first(100));
    }

    void misbehaviour_data() {
        QTest::addColumn<std::optional<DecodeError>>("expected");
        const auto row = [](const char* mode, std::optional<DecodeError> error) {
            QTest::newRow(mode) << error;
        };
        for (const char* mode : {"right", "dies-once", "talks-on"})
            row(mode, std::nullopt);
        row("dies", DecodeError::crashed);
        for (const char* mode : {"never-ready", "there-is-none", "silent"})
            row(mode, DecodeError::unavailable);
        row("hangs", DecodeError::timedOut);
        for (const char* mode :
             {"wrong-stride", "huge-stride", "negative-size", "ready-again", "answers-unasked", "huge-width",
              "larger-than-asked", "unknown-status", "wrong-id", "huge-texts", "garbled-texts", "garbage",
              "ordinary-file", "small-memory", "no-seals", "right for properties", "garbled-properties",
              "huge-properties", "unsealed-properties"})
            row(mode, DecodeError::badAnswer);
    }
    void misbehaviour() {
        QFETCH(std::optional<DecodeError>, expected);
        const QByteArray mode = QTest::currentDataTag();
        const QString program =
            mode == "there-is-none" ? path("there-is-none") : hostile(mode.split(' ')[0].constData());
        QFile::remove(path("seen"));
        QVERIFY(QFile::copy(path("picture.png"), path("seen")));
        const auto file = open("seen");
        auto process = std::make_unique<DecoderProcess>(program);
        const bool hangs = mode == "hangs" || mode == "silent";
        QElapsedTimer timer;
        timer.start();
        using Kind = DecodeRequest::Kind;
        const Kind kind = mode.endsWith("properties") ? Kind::properties : Kind::thumbnail;
        const auto result =
            process->decode({kind, file.get(), 256}, hangs ? 300ms : std::chrono::milliseconds(kPatience));
        QVERIFY(std::chrono::milliseconds(timer.elapsed()) < kPatience);
        if (!expected) {
            QVERIFY(isPicture(result));
            QCOMPARE(std::get<DecodedPicture>(result).image.size(), QSize(128, 128));
            QVERIFY2(isPicture(decode(*process, file.get(), 256)),
                     "what one request left behind harms the next");
            return;
        }
        QCOMPARE(errorOf(result), *expected);
        QCOMPARE(process->processId(), 0);
        process.reset();
        QVERIFY2(ProcessFigures::of(::getpid()).children.isEmpty(), "a zombie stays");
    }

    /// The texts beside a picture come back whole or not at all, and no more of them than there may be.
    void texts() {
        decoder::Texts texts{{"empty", ""}, {"", "keyless"}, {"bytes", QByteArray("\0\xff", 2)}};
        QCOMPARE(decoder::unpackTexts(decoder::packTexts(texts)), std::optional(texts));
        QCOMPARE(decoder::unpackTexts({}), std::optional(decoder::Texts()));
        const QByteArray whole = decoder::packTexts({{"key", "value"}});
        for (qsizetype length = 1; length < whole.size(); ++length)
            QVERIFY(!decoder::unpackTexts(QByteArrayView(whole).first(length)));
        QVERIFY(!decoder::unpackTexts(whole + '\0'));

        texts = {{"long", QByteArray(decoder::kMaximumTextBytes, 'x')}};
        QCOMPARE(decoder::unpackTexts(decoder::packTexts(texts)), std::optional(decoder::Texts()));
        for (int i = 0; i < 100; ++i)
            texts.insert(QByteArray::number(i), "text");
        const auto packed = decoder::unpackTexts(decoder::packTexts(texts));
        QCOMPARE(packed.value_or(decoder::Texts()).size(), qsizetype(decoder::kMaximumTexts));
    }

    /// A region's size is known before the answer; what is no region is not even asked for.
    void regions_data() {
        const Table<QRect, int, std::optional<DecodeError>> row("region", "level", "expected");
        using Error = std::optional<DecodeError>;
        row("right", QRect(0, 0, 128, 128), 0, Error());
        row("right, rounded up", QRect(512, 256, 511, 509), 2, Error());
        row("another size", QRect(0, 0, 128, 127), 0, Error(DecodeError::badAnswer));
        row("another level", QRect(0, 0, 128, 128), 1, Error(DecodeError::badAnswer));
        row("too large", QRect(0, 0, 2049, 128), 0, Error(DecodeError::damaged));
        row("empty", QRect(0, 0, 0, 128), 0, Error(DecodeError::damaged));
        row("off the level's grid", QRect(2, 0, 512, 512), 2, Error(DecodeError::damaged));
        row("outside", QRect(-128, 0, 128, 128), 0, Error(DecodeError::damaged));
    }
    void regions() {
        QFETCH(QRect, region);
        QFETCH(int, level);
        QFETCH(std::optional<DecodeError>, expected);
        DecoderProcess process(hostile("right"));
        const auto file = open("picture.png");
        DecodeRequest request{DecodeRequest::Kind::region, file.get(), 256};
        request.level = level;
        request.region = request.interest = region;
        const auto result = process.decode(request, kPatience);
        QCOMPARE(isPicture(result), !expected);
        QVERIFY(!expected || errorOf(result) == *expected);
    }

    /// No font file can be opened any more: a style that was not loaded before is drawn as boxes, not as
    /// dots.
    void fontsOfDrawings() {
        writeFile(path("text.svg"),
                  "<svg xmlns='http://www.w3.org/2000/svg' width='100' height='40'>"
                  "<rect width='100' height='40' fill='white'/>"
                  "<text x='5' y='35' font-size='30' font-family='serif' font-weight='bold' "
                  "font-style='italic'>....</text></svg>");
        DecoderProcess process(_decoder);
        const auto result = decode(process, open("text.svg").get(), 256);
        QVERIFY(isPicture(result));
        const QImage image = std::get<DecodedPicture>(result).image;
        QImage blank(image.width(), 20, image.format());
        blank.fill(Qt::white);
        QCOMPARE(image.copy(0, 0, image.width(), 20), blank);
        QVERIFY(image.copy(0, 20, image.width(), 20) != blank);
    }

    void cancelFromAnotherThread() {
        DecoderProcess process(hostile("hangs"));
        const auto file = open("picture.png");
        const DecodeRequest request{DecodeRequest::Kind::thumbnail, file.get(), 256};
        for (int i = 0; i < 3; ++i) {
            std::atomic<bool> over = false;
            std::jthread other([&] {
                while (!over) {
                    if (process.processId() != 0)
                        process.cancel();
                    std::this_thread::sleep_for(1ms);
                }
            });
            const auto result = process.decode(request, kPatience);
            over = true;
            other.join();
            process.forgetCancellation();
            QCOMPARE(errorOf(result), DecodeError::cancelled);
            QCOMPARE(process.processId(), 0);
        }
    }

    /// As where a picture is withdrawn while its file is being opened.
    void cancelBeforehandCountsUntilForgotten() {
        DecoderProcess process(_decoder);
        const auto file = open("picture.png");
        const DecodeRequest request{DecodeRequest::Kind::thumbnail, file.get(), 100};
        process.cancel();
        for (int i = 0; i < 2; ++i)
            QCOMPARE(errorOf(process.decode(request, kPatience)), DecodeError::cancelled);
        process.forgetCancellation();
        QVERIFY(isPicture(process.decode(request, kPatience)));
    }

    void rareFormats_data() {
        QTest::addColumn<QByteArray>("svg");
        for (const char* name : {"quadrants.heic", "quadrants.avif", "quadrants.jxl"})
            QTest::newRow(name) << QByteArray();
        QByteArray drawing =
            "<?xml version='1.0'?><!-- x --><svg xmlns='http://www.w3.org/2000/svg' width='64' height='48'>";
        for (const char* quadrant : {"0' y='0' fill='rgb(220,30,30)", "32' y='0' fill='rgb(30,200,30)",
                                     "0' y='24' fill='rgb(30,30,220)", "32' y='24' fill='rgb(240,240,40)"})
            drawing += QByteArray("<rect width='32' height='24' x='") + quadrant + "'/>";
        QTest::newRow("quadrants.svg") << drawing + "</svg>";
    }
    /// By the second role, that the common decoder sends the client to; and the common one stays.
    void rareFormats() {
        QFETCH(QByteArray, svg);
        QString name = QStringLiteral(TAVLIN_TEST_DATA "/") + QString::fromLatin1(QTest::currentDataTag());
        if (!svg.isEmpty()) {
            name = path("no name says so");
            writeFile(name, svg);
        }
        DecoderProcess process(_decoder);
        const auto common = open("small.png");
        QVERIFY(isPicture(decode(process, common.get(), 256)));
        const int before = process.processId();
        const auto file = openRegularFile(name);
        for (const auto& [asked, expected] : {std::pair(256, QSize(64, 48)), std::pair(32, QSize(32, 24))}) {
            const auto result = decode(process, file.get(), asked);
            QVERIFY(isPicture(result));
            const auto& picture = std::get<DecodedPicture>(result);
            QCOMPARE(picture.image.size(), expected);
            QCOMPARE(picture.fullSize, QSize(64, 48));
            QVERIFY(isQuadrants(picture.image));
        }
        QCOMPARE(process.processId(), before);
    }

    /// The picture is not to blame: a fresh decoder serves it.
    void replacesOneThatNoLongerReads() {
        DecoderProcess process(_decoder);
        const auto file = open("picture.png");
        QVERIFY(isPicture(decode(process, file.get(), 64)));
        const int stopped = process.processId();
        ::kill(stopped, SIGSTOP);
        QVERIFY(isPicture(decode(process, file.get(), 64)));
        QVERIFY(process.processId() != stopped);
    }

    void renewal_data() {
        QTest::addColumn<int>("requests");
        QTest::newRow("right") << 1000;
        QTest::newRow("grows") << 16;
    }
    /// A decoder that has served long, or has grown, is replaced between two requests, and none of them
    /// suffers.
    void renewal() {
        QFETCH(int, requests);
        DecoderProcess process(hostile(QTest::currentDataTag()));
        const auto file = open("picture.png");
        process.warmUp(DecodeRequest::Kind::thumbnail);
        const int first = process.processId();
        for (int i = 0; i < requests; ++i) {
            QCOMPARE(process.processId(), first);
            QVERIFY(isPicture(decode(process, file.get(), 256)));
        }
        QVERIFY2(process.processId() != first && process.processId() != 0, "no fresh one waits");
        QVERIFY(isPicture(decode(process, file.get(), 256)));
    }

    void eachRoleIsHeld() {
        if (!decoder::canBeConfined())
            QSKIP("the sanitizers need what the confinement takes");
        for (const auto role :
             {decoder::Role::common, decoder::Role::rare, decoder::Role::properties, decoder::Role::stored}) {
            const auto child = ChildProcess::start(
                bytesFromPath(_decoder), {"--role", decoder::roleName(role)}, decoder::kSocketDescriptor);
            decoder::Response ready;
            decoder::receiveMessage(child->socket(), &ready, sizeof ready, decoder::Waiting::yes);
            QCOMPARE(ready.status, decoder::Status::ready);
            QCOMPARE(ready.protections, decoder::fileRightsVersion() > 0 ? decoder::kAllProtections
                                                                         : decoder::kSystemCallFilter);
        }
    }

    void restsWhereAllDie_data() {
        QTest::addColumn<int>("tries");
        QTest::newRow("dies") << 10;
        QTest::newRow("never-ready") << 2;
    }
    /// No decoder is started any more for a while, and the pictures are not blamed.
    void restsWhereAllDie() {
        QFETCH(int, tries);
        QTemporaryDir folder;
        const QString program = folder.filePath(QString::fromLatin1(QTest::currentDataTag()));
        QVERIFY(QFile::link(kHostile, program));
        DecoderProcess process(program);
        const auto file = open("picture.png");
        const DecoderHealth& health = DecoderHealth::of(program);
        for (int i = 1; i < tries; ++i) {
            decode(process, file.get(), 256);
            QVERIFY(health.mayStart());
        }
        using Clock = DecoderHealth::Clock;
        for (const auto rest : {250ms, 500ms}) {
            const auto before = Clock::now();
            QCOMPARE(errorOf(decode(process, file.get(), 256)), DecodeError::unavailable);
            QVERIFY(!health.mayStart(before + rest - 1ms));
            QVERIFY(health.mayStart(Clock::now() + rest));
            QTRY_VERIFY_WITH_TIMEOUT(health.mayStart(), 20'000);
        }
    }

    void nothingLeaks() {
        const auto file = open("picture.png");
        const auto broken = open("broken.png");
        const auto before = ProcessFigures::of(::getpid());
        {
            DecoderProcess process(_decoder);
            for (int i = 0; i < 200; ++i) {
                const int descriptor = i % 5 == 0 ? broken.get() : file.get();
                const auto result = decode(process, descriptor, 64);
                QCOMPARE(isPicture(result), descriptor == file.get());
                if (i % 50 == 49)
                    ::kill(process.processId(), SIGKILL);
            }
        }
        const auto after = ProcessFigures::of(::getpid());
        QCOMPARE(after.descriptors, before.descriptors);
        QVERIFY2(after.children.isEmpty(), "a zombie stays");
    }

 private:
    QString path(const char* name) const { return _folder.filePath(QString::fromLatin1(name)); }
    ScopedFileDescriptor open(const char* name) const { return openRegularFile(path(name)); }
    /// The hostile decoder that behaves as `mode` says.
    QString hostile(const char* mode) const {
        QFile::link(kHostile, path(mode));
        return path(mode);
    }
    const QString _decoder = QStringLiteral(TAVLIN_BUILD_DIR "/libexec/tavlin/tavlin-decoder");
    QTemporaryDir _folder;
};

TAVLIN_TEST_MAIN(QCoreApplication, DecoderProcessTest)
#include "DecoderProcessTest.moc"
