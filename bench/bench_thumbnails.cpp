// SPDX-License-Identifier: GPL-3.0-or-later
// Seconds until the visible thumbnails of a folder and then all of them are there, with an empty and with a
// full store, and the processor time of the program and its decoders together.
// usage: bench_thumbnails [FOLDER [VISIBLE [PIXELS]]]; without a folder it makes one of 200 2-megapixel
// JPEGs.
#include "platform/FileAccess.h"
#include "platform/imaging/DecoderProcess.h"
#include "platform/imaging/ThumbnailQueue.h"
#include "platform/PathBytes.h"
#include "testing/TestHome.h"

#include <sys/resource.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QImage>

#include <algorithm>
#include <cmath>
#include <cstdio>

using namespace platform;

namespace {

/// Generous, for a busy machine of two cores; the made folder only.
constexpr double visibleBound = 1.5;  // seconds
constexpr double turnBound = 50;      // milliseconds

double processorSeconds() {
    double seconds = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        ::getrusage(static_cast<__rusage_who>(who), &usage);
        for (const timeval& time : {usage.ru_utime, usage.ru_stime})
            seconds += static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    }
    return seconds;
}

void makePictures(const QString& folder) {
    QImage image(1632, 1224, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgb(x * y % 256, int(127 + 100 * std::sin(x * 0.05)), (x ^ y) & 255));
    for (int i = 0; i < 200; ++i) {
        const QString path = pathByAppending(folder, QStringLiteral("%1.jpg").arg(i));
        image.save(path, "jpeg", 90);
        QFile file(path);
        if (file.open(QIODevice::ReadWrite))
            file.setFileTime(QDateTime::fromSecsSinceEpoch(1'600'000'000), QFile::FileModificationTime);
    }
}

struct Figures {
    double firstSight = 0;  ///< seconds until every visible cell shows something
    double visible = 0;     ///< seconds until every visible cell shows its picture
    double all = 0;
    double processor = 0;
};

Figures measure(const std::vector<ThumbnailRequest>& visible, const std::vector<ThumbnailRequest>& near) {
    Figures figures;
    const double processorBefore = processorSeconds();
    {
        QElapsedTimer time;
        time.start();
        ThumbnailQueue queue;
        QEventLoop loop;
        std::size_t seen = 0;
        std::size_t done = 0;
        const auto now = [&] {
            return static_cast<double>(time.nsecsElapsed()) / 1e9;
        };
        QHash<QString, int> visibleStates;
        for (const auto& request : visible)
            visibleStates.insert(request.path, 0);
        std::size_t visibleDone = 0;
        QObject::connect(&queue, &ThumbnailQueue::thumbnailChanged, &queue, [&](const QString& path) {
            const bool isFinal = queue.thumbnail(path).state != Thumbnail::State::preview;
            const auto state = visibleStates.find(path);
            if (state != visibleStates.end()) {
                if (std::exchange(*state, 1) == 0 && ++seen == visible.size())
                    figures.firstSight = now();
                if (isFinal && ++visibleDone == visible.size())
                    figures.visible = now();
            }
            if (isFinal && ++done == visible.size() + near.size()) {
                figures.all = now();
                loop.quit();
            }
        });
        queue.setWanted(visible, near);
        loop.exec();
    }
    figures.processor = processorSeconds() - processorBefore;
    return figures;
}

}  // namespace

int main(int argc, char** argv) {
    const TestHome home;
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    DecoderProcess::setInstalledProgram(
        qEnvironmentVariable("TAVLIN_PREFIX", QStringLiteral(TAVLIN_BUILD_DIR)) +
        QStringLiteral("/libexec/tavlin/tavlin-decoder"));
    QString folder = arguments.value(1);
    const bool isMade = folder.isEmpty();
    if (isMade) {
        folder = pathByAppending(home.path(), QStringLiteral("pictures"));
        QDir().mkpath(folder);
        makePictures(folder);
    }
    const int visibleCount = arguments.value(2, QStringLiteral("30")).toInt();
    const int pixelSize = arguments.value(3, QStringLiteral("256")).toInt();
    std::vector<ThumbnailRequest> visible;
    std::vector<ThumbnailRequest> near;
    for (const QString& name : QDir(folder).entryList(QDir::Files))
        (static_cast<int>(visible.size()) < visibleCount ? visible : near)
            .push_back({pathByAppending(folder, name), pixelSize});

    bool isGood = true;
    for (const char* store : {"empty store", "full store"}) {
        const Figures figures = measure(visible, near);
        std::printf("%-12s first sight %.3f s, %zu visible %.3f s, all %zu %.3f s, processor %.2f s\n", store,
                    figures.firstSight, visible.size(), figures.visible, visible.size() + near.size(),
                    figures.all, figures.processor);
        isGood = isGood && (!isMade || figures.visible < visibleBound);
    }
    return isGood ? 0 : 1;
}
