// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/ThumbnailQueue.h"

#include "decoder/TestPictures.h"
#include "platform/FileAccess.h"
#include "platform/imaging/ThumbnailStore.h"
#include "platform/PathBytes.h"
#include "testing/NoThreads.h"
#include "testing/ProcessFigures.h"
#include "testing/TestMain.h"

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include <QElapsedTimer>
#include <QMimeDatabase>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QThreadPool>

#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace platform;
using State = Thumbnail::State;

namespace {

const QString kDecoder = QStringLiteral(TAVLIN_BUILD_DIR "/libexec/tavlin/tavlin-decoder");

/// A picture that compresses badly, so that its file is large.
QImage noise(QSize size, QColor colour) {
    QImage image(size, QImage::Format_RGB32);
    QRandomGenerator random(1);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, colour.darker(100 + static_cast<int>(random.bounded(60U))).rgb());
    return image;
}

QByteArray jpeg(const QImage& image) {
    return testPictures::written(image, "jpeg", 90);
}

/// The decoders and all other children of this process, also those that have ended and were not waited for.
QList<qint64> childProcesses() {
    return ProcessFigures::of(::getpid()).children;
}

}  // namespace

/// The queue with real decoders: what the grid is told, in what order, and what is left behind.
class ThumbnailQueueTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() {
        QMimeDatabase().mimeTypeForName(u"image/png"_s);  // keeps its index open for good
    }

    void init() {
        _folder = std::make_unique<QTemporaryDir>();
        DecoderProcess::setInstalledProgram(kDecoder);
        QDir(ThumbnailStore::defaultFolder()).removeRecursively();
        _openBefore = ProcessFigures::of(::getpid()).descriptors;
    }

    void cleanup() {
        QThreadPool::globalInstance()->waitForDone();  // the toolkit scales images there
        QVERIFY(childProcesses().isEmpty());
        QCOMPARE(ProcessFigures::of(::getpid()).descriptors, _openBefore);
    }

    void hasDecodersReadyBeforeAnythingIsWanted() {
        ThumbnailQueue queue;
        queue.warmUp();  // for what is in the store, and for what is not
        QTRY_COMPARE_WITH_TIMEOUT(childProcesses().size(), 2, 20'000);
    }

    void servesWhatIsWantedWhileItGetsReady() {
        const auto wanted = writeMany(1);
        ThumbnailQueue queue;
        queue.warmUp();
        QTRY_VERIFY(!childProcesses().isEmpty());  // the first is there, the second is waited for
        queue.setWanted(wanted, {});
        QTRY_COMPARE(queue.thumbnail(wanted.front().path).state, State::complete);
    }

    void answersByContent_data() {
        const Table<QByteArray, State, QSize> columns("content", "state", "size");
        const auto row = [](const char* name, const QByteArray& content, State state, QSize size = {0, 0}) {
            QTest::newRow(name) << content << state << size;
        };
        row("large picture", jpeg(noise({800, 400}, Qt::red)), State::complete, {200, 100});
        row("small picture", jpeg(noise({40, 80}, Qt::red)), State::complete, {40, 80});
        row("text", "no picture at all, but a text", State::notImage);
        row("text in a picture's name", "<html>404</html>", State::failed);
        row("FIFO", "FIFO", State::notImage);
        row("absent", "absent", State::notImage);
        row("link to nothing", "link", State::failed);
    }
    void answersByContent() {
        QFETCH(const QByteArray, content);
        const QString path = write(content.startsWith("<html>") ? u"file.JPG"_s : u"file"_s, content);
        if (content == "FIFO" || content == "absent" || content == "link")
            QVERIFY(QFile::remove(path));
        QVERIFY(content != "link" || QFile::link(u"nowhere"_s, path));
        if (content == "FIFO")
            ::mkfifo(bytesFromPath(path).constData(), 0600);
        ThumbnailQueue queue;
        record(queue);
        QCOMPARE(queue.thumbnail(path).state, State::unknown);
        queue.setWanted({{path, 200}}, {});
        QTRY_COMPARE(_reports.size(), 1U);
        const Thumbnail thumbnail = queue.thumbnail(path);
        QTEST(thumbnail.state, "state");
        QTEST(thumbnail.image.size(), "size");
        QCOMPARE(thumbnail.failure.isEmpty(), thumbnail.state != State::failed);
        const auto uri = fileUriFromPath(path);
        QTRY_COMPARE(QFile::exists(ThumbnailStore().failurePath(uri)),
                     thumbnail.state == State::failed && content != "link");
    }

    void visibleComeFirst() {
        const auto requests = writeMany(40);
        const std::vector<ThumbnailRequest> near(requests.begin(), requests.begin() + 30);
        const std::vector<ThumbnailRequest> visible(requests.rbegin(), requests.rbegin() + 10);
        ThumbnailQueue queue;
        record(queue);
        std::vector<bool> toldWithAll;
        connect(&queue, &ThumbnailQueue::visibleAnswered, this, [&] {
            toldWithAll.push_back(std::all_of(visible.begin(), visible.end(), [&](const auto& request) {
                return queue.thumbnail(request.path).state == State::complete;
            }));
        });
        queue.setWanted(visible, near);
        QTRY_COMPARE(_reports.size(), 40U);
        QCOMPARE(toldWithAll, std::vector{true});
        const auto place = [&](const auto& report) {
            return std::find(visible.begin(), visible.end(), ThumbnailRequest{report.first, 256}) -
                   visible.begin();
        };
        constexpr int mostWorkers = 4;
        QVERIFY2(place(_reports[0]) < mostWorkers, "the most urgent are begun first");
        const auto early = std::count_if(_reports.begin(), _reports.begin() + 10,
                                         [&](const auto& report) { return place(report) < 10; });
        QVERIFY2(early > 10 - mostWorkers, "only what the other workers are at can be overtaken");
    }

    void replacedWishesAreDropped() {
        const auto requests = writeMany(200);
        const QString last = write(u"last.jpg"_s, jpeg(noise({300, 300}, Qt::green)));
        ThumbnailQueue queue;
        record(queue);
        queue.setWanted(requests, {});
        queue.setWanted({{last, 256}}, {});
        QTRY_COMPARE(_reports.size(), 1U);
        QCOMPARE(_reports[0].first, last);
        const auto made = std::count_if(requests.begin(), requests.end(), [&](const auto& request) {
            return queue.thumbnail(request.path).state != State::unknown;
        });
        QVERIFY2(made <= 20, qPrintable(u"%1 were made for nothing"_s.arg(made)));
    }

    void looksIntoTheStoreFirst() {
        const QString good = write(u"good.jpg"_s, jpeg(noise({1600, 900}, Qt::red)));
        const QString bad = write(u"bad.jpg"_s, jpeg(noise({300, 200}, Qt::red)));
        const ThumbnailStore store;
        const QString stored = store.thumbnailPath(fileUriFromPath(good), 256);
        auto queue = std::make_unique<ThumbnailQueue>();
        queue->setWanted({{good, 200}}, {});
        QTRY_COMPARE(QImage(stored).size(), QSize(256, 144));

        QImage other(256, 144, QImage::Format_RGB32);
        other.fill(Qt::yellow);
        QVERIFY(store.save(*store.originalOf(good, openRegularFile(good).get()), 256, other, {1600, 900}));
        QVERIFY(store.saveFailure(*store.originalOf(bad, openRegularFile(bad).get()), u"why"_s));
        queue = std::make_unique<ThumbnailQueue>();
        record(*queue);
        queue->setWanted({{good, 200}, {bad, 200}}, {});
        QTRY_COMPARE(_reports.size(), 2U);
        QCOMPARE(queue->thumbnail(good).image.size(), QSize(200, 112));
        QCOMPARE(queue->thumbnail(good).image.pixelColor(100, 50), QColor(Qt::yellow));
        QCOMPARE(queue->thumbnail(bad).failure, u"why"_s);
    }

    void olderStaysUntilTheNewer() {
        const QString same = write(u"same.jpg"_s, jpeg(noise({800, 400}, Qt::red)));
        const QString path = write(u"changed.jpg"_s, jpeg(noise({800, 400}, Qt::red)));
        ThumbnailQueue queue;
        record(queue);
        queue.setWanted({{same, 300}, {path, 100}}, {});
        QTRY_COMPARE(_reports.size(), 2U);
        queue.setWanted({{same, 300}, {path, 300}}, {});
        QCOMPARE(queue.thumbnail(path).image.width(), 100);
        QTRY_COMPARE(_reports.size(), 3U);
        QCOMPARE(queue.thumbnail(path).image.width(), 300);

        write(u"changed.jpg"_s, jpeg(noise({800, 400}, Qt::blue)));
        queue.setWanted({{same, 300}, {path, 300}}, {}, true);
        QVERIFY(queue.thumbnail(path).image.pixelColor(50, 50).red() > 100);
        QTRY_COMPARE(_reports.size(), 4U);
        QVERIFY(queue.thumbnail(path).image.pixelColor(50, 50).blue() > 100);
        // What was out of sight then is looked at when it comes into sight.
        write(u"changed.jpg"_s, jpeg(noise({800, 400}, Qt::green)));
        queue.setWanted({{same, 300}}, {}, true);
        queue.setWanted({{same, 300}, {path, 300}}, {});
        QTRY_COMPARE(_reports.size(), 5U);
        QVERIFY(queue.thumbnail(path).image.pixelColor(50, 50).green() > 100);
        QCOMPARE(std::count_if(_reports.begin(), _reports.end(), [&](auto& it) { return it.first == same; }),
                 1);
    }

    /// Files are replaced while their pictures are being made.
    void takesNothingBegunBeforeAReload() {
        ThumbnailQueue queue;
        stopAllDecodersOf(queue);
        for (int i = 0; i < 30; ++i)
            QVERIFY(QFile::remove(_folder->filePath(u"many-%1.jpg"_s.arg(i))));
        const auto changed = writeMany(30, {400, 200});
        queue.setWanted(changed, {}, true);
        for (const qint64 child : childProcesses())
            ::kill(pid_t(child), SIGCONT);
        const auto isNew = [&](const ThumbnailRequest& request) {
            return queue.thumbnail(request.path).image.size() == QSize(256, 128);
        };
        QTRY_VERIFY_WITH_TIMEOUT(std::all_of(changed.begin(), changed.end(), isNew), 20000);
    }

    void memoryIsBounded() {
        constexpr std::size_t limit = 1'500'000;  // bytes: seven thumbnails of 256 by 192
        const auto requests = writeMany(30);
        const std::vector<ThumbnailRequest> visible(requests.begin(), requests.begin() + 5);
        const std::vector<ThumbnailRequest> near(requests.begin() + 5, requests.end());
        ThumbnailQueue queue;
        queue.setMemoryLimit(limit);
        record(queue);
        std::size_t most = 0;
        connect(&queue, &ThumbnailQueue::thumbnailChanged, this,
                [&] { most = std::max(most, queue.memoryUse()); });
        queue.setWanted(visible, near);
        QTRY_COMPARE(_reports.size(), 30U);
        QVERIFY(most > limit / 2 && most <= limit);
        for (const auto& request : visible)
            QCOMPARE(queue.thumbnail(request.path).state, State::complete);
        queue.setMemoryLimit(0);
        QCOMPARE(queue.memoryUse(), 0U);
    }

    void endsWhileDecodersHang() {
        auto queue = std::make_unique<ThumbnailQueue>();
        stopAllDecodersOf(*queue);
        queue.reset();
        QVERIFY2(childProcesses().isEmpty(), "its patience ended before they did");
    }

    void servesAfterARest_data() {
        QTest::addColumn<int>("count");
        QTest::newRow("never-ready") << 1;
        QTest::newRow("dies") << 30;  // at the first ten
    }
    /// A picture that comes while decoders rest is not broken for good, with no further wishes.
    void servesAfterARest() {
        QFETCH(int, count);
        const QString program = _folder->filePath(QString::fromLatin1(QTest::currentDataTag()));
        QVERIFY(
            QFile::link(QStringLiteral(TAVLIN_BUILD_DIR "/tests/platform/imaging/hostile_decoder"), program));
        DecoderProcess::setInstalledProgram(program);
        const auto back = qScopeGuard([] { DecoderProcess::setInstalledProgram(kDecoder); });
        ThumbnailQueue queue;
        const auto wanted = writeMany(count);
        const QString path = wanted.back().path;
        queue.setWanted(wanted, {});
        QTRY_COMPARE_WITH_TIMEOUT(queue.thumbnail(path).state, State::failed, 20000);
        QVERIFY(QFile::remove(program) && QFile::link(kDecoder, program));
        QTRY_COMPARE_WITH_TIMEOUT(queue.thumbnail(path).state, State::complete, 20000);
    }

    /// Without any decoder, what stands is wished ever more rarely, until somebody looks.
    void wishesAgainMoreRarely() {
        DecoderProcess::setInstalledProgram(_folder->filePath(u"none"_s));
        const auto back = qScopeGuard([] { DecoderProcess::setInstalledProgram(kDecoder); });
        const auto wanted = writeMany(1);
        ThumbnailQueue queue;
        QElapsedTimer time;
        std::vector<qint64> waits;  // from one answer to the next, milliseconds
        connect(&queue, &ThumbnailQueue::thumbnailChanged, this, [&] { waits.push_back(time.restart()); });
        time.start();
        queue.setWanted(wanted, {});
        QTRY_COMPARE_WITH_TIMEOUT(waits.size(), 3U, 20000);
        QVERIFY2(waits[2] > waits[1] * 3 / 2, qPrintable(QString::number(waits[2])));
        queue.setWanted(wanted, {}, true);
        QTRY_COMPARE_WITH_TIMEOUT(waits.size(), 5U, 20000);
        QVERIFY2(waits[4] < waits[2], qPrintable(QString::number(waits[4])));
    }

    /// No further wish is needed.
    void servesAfterThereWasNoThread() {
        const auto wanted = writeMany(12);
        ThumbnailQueue queue;
        record(queue);
        {
            const NoThreads now;
            queue.setWanted(wanted, {});
        }
        QTRY_COMPARE_WITH_TIMEOUT(_reports.size(), wanted.size(), 20000);
        QVERIFY2(_reports.front().first != wanted.back().path, "the least urgent came first");
        QCOMPARE(queue.thumbnail(wanted.front().path).state, State::complete);
    }

    /// With every decoder stopped at what is wanted no longer, and no further wishes.
    void leavesWhatHangsUnwanted() {
        ThumbnailQueue queue;
        stopAllDecodersOf(queue);
        const QString path = write(u"wanted.jpg"_s, jpeg(noise({300, 200}, Qt::red)));
        queue.setWanted({{path, 200}}, {});
        // Half of what they would be waited for.
        QTRY_COMPARE_WITH_TIMEOUT(queue.thumbnail(path).state, State::complete, 7'500);
    }

 private:
    QString write(const QString& name, const QByteArray& content) {
        const QString path = _folder->filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("no file could be written");
        file.flush();
        _age += 10;
        file.setFileTime(QDateTime::currentDateTime().addSecs(-100000 + _age), QFile::FileModificationTime);
        return path;
    }
    std::vector<ThumbnailRequest> writeMany(int count, QSize size = {400, 300}) {
        const QByteArray picture = jpeg(noise(size, Qt::red));
        std::vector<ThumbnailRequest> requests;
        for (int i = 0; i < count; ++i)
            requests.push_back({write(u"many-%1.jpg"_s.arg(i), picture), 256});
        return requests;
    }
    /// In the middle of thirty pictures that take a while: one hangs at each worker, and the others wait.
    void stopAllDecodersOf(ThumbnailQueue& queue) {
        const qsizetype workers = std::clamp<qsizetype>(std::thread::hardware_concurrency(), 2, 4);
        record(queue);
        queue.setWanted(writeMany(30, {2000, 1500}), {});
        QTRY_VERIFY(!_reports.empty());
        const auto stopped = [&] {  // and those that are started meanwhile
            const auto children = childProcesses();
            for (const qint64 child : children)
                ::kill(pid_t(child), SIGSTOP);
            return children.size();
        };
        QTRY_COMPARE(stopped(), workers);
        QTRY_COMPARE(ProcessFigures::openFilesBelow(_folder->path()), workers);
        QVERIFY(_reports.size() < 30);
    }
    /// Every state the grid is told of, in order.
    void record(ThumbnailQueue& queue) {
        _reports.clear();
        connect(&queue, &ThumbnailQueue::thumbnailChanged, this,
                [&](const QString& path) { _reports.emplace_back(path, queue.thumbnail(path)); });
    }

    std::unique_ptr<QTemporaryDir> _folder;
    std::vector<std::pair<QString, Thumbnail>> _reports;
    qint64 _age = 0;
    qsizetype _openBefore = 0;
};

TAVLIN_TEST_MAIN(QCoreApplication, ThumbnailQueueTest)
#include "ThumbnailQueueTest.moc"
