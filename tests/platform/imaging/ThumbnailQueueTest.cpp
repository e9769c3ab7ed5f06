// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/ThumbnailQueue.h"

#include "platform/FileAccess.h"
#include "platform/imaging/ThumbnailStore.h"
#include "platform/PathBytes.h"
#include "testing/TestHome.h"

#include <sys/stat.h>
#include <unistd.h>
#include <csignal>

#include <QBuffer>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QMimeDatabase>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QtEndian>
#include <QTest>
#include <QThreadPool>

#include <vector>

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

QByteArray jpeg(const QImage& image, int quality = 90) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "jpeg", quality);
    return bytes;
}

template <typename Number>
QByteArray bigEndian(Number number) {
    QByteArray bytes(sizeof number, Qt::Uninitialized);
    qToBigEndian(number, bytes.data());
    return bytes;
}

/// The JPEG with another inside, as cameras write it (EXIF 2.3, 4.5: an IFD0 of one entry, a thumbnail in
/// IFD1).
QByteArray withPreview(const QByteArray& picture, const QByteArray& preview) {
    const auto entry = [](quint16 tag, quint32 value) {
        return bigEndian(tag) + bigEndian(quint16{4}) + bigEndian(quint32{1}) + bigEndian(value);
    };
    const QByteArray tables = bigEndian(quint16{1}) + entry(0x0100, 1) + bigEndian(quint32{26}) +
                              bigEndian(quint16{2}) + entry(0x0201, 56) +
                              entry(0x0202, static_cast<quint32>(preview.size())) + bigEndian(quint32{0});
    const QByteArray body = QByteArray("Exif\0\0MM\0*\0\0\0\x08", 14) + tables + preview;
    return picture.first(2) + QByteArray("\xff\xe1") + bigEndian(static_cast<quint16>(body.size() + 2)) +
           body + picture.sliced(2);
}

/// The decoders and all other children of this process, also those that have ended and were not waited for.
std::vector<int> childProcesses() {
    std::vector<int> children;
    for (const QString& name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        QFile file(QStringLiteral("/proc/%1/stat").arg(name));
        if (name.toInt() <= 0 || !file.open(QIODevice::ReadOnly))
            continue;
        const QByteArray stat = file.readAll();
        if (stat.mid(stat.lastIndexOf(')') + 2).split(' ').value(1).toInt() == ::getpid())
            children.push_back(name.toInt());
    }
    return children;
}

void signalChildren(int signal) {
    for (const int child : childProcesses())
        ::kill(child, signal);
}

QStringList openFiles(int process) {
    QStringList files;
    const QDir folder(QStringLiteral("/proc/%1/fd").arg(process));
    for (const QFileInfo& info : folder.entryInfoList(QDir::Files | QDir::System))
        files += info.symLinkTarget();
    return files;
}

}  // namespace

/// The queue with real decoders: what the grid is told, in what order, and what is left behind.
class ThumbnailQueueTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void answersByContent_data();
    void answersByContent();
    void visibleComeFirst();
    void replacedWishesAreDropped();
    void previewComesBeforeThePicture();
    void storedThumbnailComesAlone();
    void rememberedFailureIsNotTriedAgain();
    void failureWithoutDecoderIsNotRemembered();
    void olderSizeStaysUntilTheNewOne();
    void memoryIsBounded();
    void checkAgainFindsANewVersion();
    void killedDecoderCostsNothing();
    void endsWhileDecodersHang();
    void releasesFiles();

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
    std::vector<ThumbnailRequest> writeMany(int count, int pixelSize = 256) {
        const QByteArray picture = jpeg(noise({400, 300}, Qt::red));
        std::vector<ThumbnailRequest> requests;
        for (int i = 0; i < count; ++i)
            requests.push_back({write(QStringLiteral("many-%1.jpg").arg(i), picture), pixelSize});
        return requests;
    }
    /// Every state the grid is told of, in order.
    void record(ThumbnailQueue& queue) {
        _reports.clear();
        connect(&queue, &ThumbnailQueue::thumbnailChanged, this,
                [&](const QString& path) { _reports.emplace_back(path, queue.thumbnail(path)); });
    }
    std::vector<State> reportedStates() const {
        std::vector<State> states;
        for (const auto& report : _reports)
            states.push_back(report.second.state);
        return states;
    }

    std::unique_ptr<QTemporaryDir> _folder;
    std::vector<std::pair<QString, Thumbnail>> _reports;
    qint64 _age = 0;
    QStringList _openBefore;
};

void ThumbnailQueueTest::initTestCase() {
    QMimeDatabase().mimeTypeForName(QStringLiteral("image/png"));  // keeps its index open for good
}

void ThumbnailQueueTest::init() {
    _folder = std::make_unique<QTemporaryDir>();
    ThumbnailQueue::setDecoderProgram(kDecoder);
    QDir(ThumbnailStore::defaultFolder()).removeRecursively();
    _openBefore = openFiles(::getpid());
}

void ThumbnailQueueTest::cleanup() {
    QThreadPool::globalInstance()->waitForDone();  // the toolkit scales images there
    QCOMPARE(childProcesses().size(), 0U);
    QCOMPARE(openFiles(::getpid()).size(), _openBefore.size());
}

void ThumbnailQueueTest::answersByContent_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<State>("state");
    QTest::addColumn<QSize>("size");
    const QByteArray picture = jpeg(noise({800, 400}, Qt::red));
    QByteArray png;
    QBuffer buffer(&png);
    noise({300, 300}, Qt::blue).save(&buffer, "png");
    QTest::newRow("large picture") << picture << State::complete << QSize(200, 100);
    QTest::newRow("small picture") << jpeg(noise({40, 80}, Qt::red)) << State::complete << QSize(40, 80);
    QTest::newRow("half a picture") << png.first(png.size() / 2) << State::failed << QSize(0, 0);
    QTest::newRow("text") << QByteArray("no picture at all, but a text") << State::notImage << QSize(0, 0);
    QTest::newRow("empty") << QByteArray() << State::notImage << QSize(0, 0);
    QTest::newRow("FIFO") << QByteArray("FIFO") << State::notImage << QSize(0, 0);
    QTest::newRow("absent") << QByteArray("absent") << State::notImage << QSize(0, 0);
}

void ThumbnailQueueTest::answersByContent() {
    QFETCH(const QByteArray, content);
    const QString path = write(QStringLiteral("file"), content);
    if (content == "FIFO" || content == "absent")
        QVERIFY(QFile::remove(path));
    if (content == "FIFO")
        QCOMPARE(::mkfifo(bytesFromPath(path).constData(), 0600), 0);
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
    QTRY_COMPARE(QFile::exists(ThumbnailStore().failurePath(uri)), thumbnail.state == State::failed);
}

void ThumbnailQueueTest::visibleComeFirst() {
    const auto requests = writeMany(40);
    const std::vector<ThumbnailRequest> near(requests.begin(), requests.begin() + 30);
    const std::vector<ThumbnailRequest> visible(requests.rbegin(), requests.rbegin() + 10);
    ThumbnailQueue queue;
    record(queue);
    queue.setWanted(visible, near);
    QTRY_COMPARE(_reports.size(), 40U);
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

void ThumbnailQueueTest::replacedWishesAreDropped() {
    const auto requests = writeMany(200);
    const QString last = write(QStringLiteral("last.jpg"), jpeg(noise({300, 300}, Qt::green)));
    ThumbnailQueue queue;
    record(queue);
    queue.setWanted(requests, {});
    queue.setWanted({{last, 256}}, {});
    QTRY_COMPARE(_reports.size(), 1U);
    QCOMPARE(_reports[0].first, last);
    const auto made = std::count_if(requests.begin(), requests.end(), [&](const ThumbnailRequest& request) {
        return queue.thumbnail(request.path).state != State::unknown;
    });
    QVERIFY2(made <= 20, qPrintable(QStringLiteral("%1 were made for nothing").arg(made)));
}

void ThumbnailQueueTest::previewComesBeforeThePicture() {
    const QImage preview = noise({160, 90}, Qt::green);
    const QString path =
        write(QStringLiteral("camera.jpg"),
              withPreview(jpeg(noise({800, 450}, Qt::red).scaled(4800, 2700)), jpeg(preview)));
    ThumbnailQueue queue;
    record(queue);
    queue.setWanted({{path, 256}}, {});
    QTRY_COMPARE(reportedStates(), (std::vector{State::preview, State::complete}));
    QCOMPARE(_reports[0].second.image.size(), QSize(160, 90));
    QCOMPARE(_reports[1].second.image.size(), QSize(256, 144));
}

void ThumbnailQueueTest::storedThumbnailComesAlone() {
    const QString path = write(QStringLiteral("camera.jpg"), jpeg(noise({1600, 900}, Qt::red), 98));
    const QString stored = ThumbnailStore().thumbnailPath(fileUriFromPath(path), 256);
    {
        ThumbnailQueue queue;
        queue.setWanted({{path, 200}}, {});
        QTRY_VERIFY2(QFile::exists(stored), "written once nothing visible waits");
        QCOMPARE(QImage(stored).size(), QSize(256, 144));
    }
    const auto file = openRegularFile(path);
    const auto original = ThumbnailStore().originalOf(path, file.get());
    QImage other(256, 144, QImage::Format_RGB32);
    other.fill(Qt::yellow);
    QVERIFY(ThumbnailStore().save(*original, 256, other, {1600, 900}));
    ThumbnailQueue queue;
    record(queue);
    queue.setWanted({{path, 200}}, {});
    QTRY_COMPARE(reportedStates(), std::vector{State::complete});
    QCOMPARE(queue.thumbnail(path).image.pixelColor(100, 50), QColor(Qt::yellow));
    QCOMPARE(queue.thumbnail(path).image.width(), 200);
}

void ThumbnailQueueTest::rememberedFailureIsNotTriedAgain() {
    const QString path = write(QStringLiteral("good.jpg"), jpeg(noise({300, 200}, Qt::red)));
    const auto file = openRegularFile(path);
    const auto original = ThumbnailStore().originalOf(path, file.get());
    QVERIFY(ThumbnailStore().saveFailure(*original, QStringLiteral("it crashed")));
    ThumbnailQueue queue;
    queue.setWanted({{path, 200}}, {});
    QTRY_COMPARE(queue.thumbnail(path).state, State::failed);
    QCOMPARE(queue.thumbnail(path).failure, QStringLiteral("it crashed"));
}

void ThumbnailQueueTest::failureWithoutDecoderIsNotRemembered() {
    ThumbnailQueue::setDecoderProgram(QStringLiteral("/absent"));
    const QString path = write(QStringLiteral("good.jpg"), jpeg(noise({300, 200}, Qt::red)));
    ThumbnailQueue queue;
    queue.setWanted({{path, 200}}, {});
    QTRY_COMPARE(queue.thumbnail(path).state, State::failed);
    QVERIFY(!queue.thumbnail(path).failure.isEmpty());
    QVERIFY(!QFile::exists(ThumbnailStore().failurePath(fileUriFromPath(path))));
}

void ThumbnailQueueTest::olderSizeStaysUntilTheNewOne() {
    const QString path = write(QStringLiteral("a.jpg"), jpeg(noise({800, 400}, Qt::red)));
    ThumbnailQueue queue;
    record(queue);
    queue.setWanted({{path, 100}}, {});
    QTRY_COMPARE(_reports.size(), 1U);
    queue.setWanted({{path, 300}}, {});
    QCOMPARE(queue.thumbnail(path).image.width(), 100);
    QTRY_COMPARE(_reports.size(), 2U);
    QCOMPARE(queue.thumbnail(path).image.width(), 300);
    queue.setWanted({{path, 300}}, {});
    QCoreApplication::processEvents();
    QVERIFY2(_reports.size() == 2, "at hand already");
}

void ThumbnailQueueTest::memoryIsBounded() {
    constexpr std::size_t limit = 1'500'000;  // bytes: seven thumbnails of 256 by 192
    const auto requests = writeMany(30);
    const std::vector<ThumbnailRequest> visible(requests.begin(), requests.begin() + 5);
    const std::vector<ThumbnailRequest> near(requests.begin() + 5, requests.end());
    ThumbnailQueue queue;
    queue.setMemoryLimit(limit);
    std::size_t most = 0;
    int reports = 0;
    connect(&queue, &ThumbnailQueue::thumbnailChanged, this, [&] {
        most = std::max(most, queue.memoryUse());
        ++reports;
    });
    queue.setWanted(visible, near);
    QTRY_COMPARE(reports, 30);
    QVERIFY(most > limit / 2 && most <= limit);
    for (const auto& request : visible)
        QCOMPARE(queue.thumbnail(request.path).state, State::complete);
    queue.setMemoryLimit(0);
    QCOMPARE(queue.memoryUse(), 0U);
}

void ThumbnailQueueTest::checkAgainFindsANewVersion() {
    const QString same = write(QStringLiteral("same.jpg"), jpeg(noise({300, 200}, Qt::red)));
    const QString changed = write(QStringLiteral("changed.jpg"), jpeg(noise({300, 200}, Qt::red)));
    const std::vector<ThumbnailRequest> both{{same, 200}, {changed, 200}};
    ThumbnailQueue queue;
    record(queue);
    queue.setWanted(both, {});
    QTRY_COMPARE(_reports.size(), 2U);
    write(QStringLiteral("changed.jpg"), jpeg(noise({300, 200}, Qt::blue)));
    queue.setWanted(both, {});
    queue.setWanted(both, {}, true);
    QVERIFY(queue.thumbnail(changed).image.pixelColor(50, 50).red() > 100);
    QTRY_COMPARE(_reports.size(), 3U);
    QCOMPARE(_reports[2].first, changed);
    QVERIFY(queue.thumbnail(changed).image.pixelColor(50, 50).blue() > 100);
}

void ThumbnailQueueTest::killedDecoderCostsNothing() {
    const auto requests = writeMany(41);
    ThumbnailQueue queue;
    record(queue);
    queue.setWanted({requests[0]}, {});
    QTRY_COMPARE(_reports.size(), 1U);
    const std::vector<int> decoders = childProcesses();
    QCOMPARE(decoders.size(), 1U);
    ::kill(decoders[0], SIGSTOP);
    queue.setWanted(requests, {});
    QTRY_COMPARE(_reports.size(), 40U);
    ::kill(decoders[0], SIGKILL);
    QTRY_COMPARE(_reports.size(), 41U);
    for (const auto& request : requests)
        QCOMPARE(queue.thumbnail(request.path).state, State::complete);
}

void ThumbnailQueueTest::endsWhileDecodersHang() {
    const auto requests = writeMany(30);
    auto queue = std::make_unique<ThumbnailQueue>();
    record(*queue);
    queue->setWanted(requests, {});
    QTRY_VERIFY(!_reports.empty());
    signalChildren(SIGSTOP);
    QElapsedTimer time;
    time.start();
    queue.reset();
    QVERIFY2(time.elapsed() < 500, qPrintable(QString::number(time.elapsed())));
}

void ThumbnailQueueTest::releasesFiles() {
    const QString elsewhere = write(QStringLiteral("elsewhere.jpg"), jpeg(noise({300, 200}, Qt::red)));
    ThumbnailQueue queue;
    record(queue);
    queue.setWanted({{elsewhere, 200}}, {});
    QTRY_COMPARE(_reports.size(), 1U);
    QVERIFY(QDir(_folder->path()).mkdir(QStringLiteral("volume")));
    const QString path = write(QStringLiteral("volume/a.jpg"), jpeg(noise({900, 600}, Qt::red)));
    signalChildren(SIGSTOP);
    queue.setWanted({{path, 200}}, {});
    const auto isOpen = [&] {
        auto processes = childProcesses();
        processes.push_back(::getpid());
        return std::any_of(processes.begin(), processes.end(),
                           [&](int process) { return openFiles(process).contains(path); });
    };
    QTRY_VERIFY(isOpen());
    queue.releaseFilesBelow(_folder->filePath(QStringLiteral("vol")));
    QVERIFY2(isOpen(), "another folder");
    queue.releaseFilesBelow(_folder->filePath(QStringLiteral("volume")));
    QVERIFY(!isOpen());
    signalChildren(SIGCONT);
    queue.setWanted({{elsewhere, 100}}, {});
    QTRY_COMPARE(_reports.size(), 2U);
    QCOMPARE(queue.thumbnail(path).state, State::unknown);
}

TAVLIN_TEST_MAIN(QCoreApplication, ThumbnailQueueTest)
#include "ThumbnailQueueTest.moc"
