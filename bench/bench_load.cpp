// SPDX-License-Identifier: GPL-3.0-or-later
// From reloadWithPath() to the view's reload for a flat folder of 100,000 entries, against one pass of
// getdents64 and statx over the same folder in the same run; the merge's times; the memory of one item.
// Fails when the load takes more than three times the bare pass.
#include "images/ImageBrowserDataSource.h"
#include "images/ImageMerge.h"
#include "platform/FileAccess.h"
#include "platform/views/Control.h"
#include "settings/PreferencesDictionary.h"

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr int folderSize = 100'000;
constexpr int rounds = 7;
constexpr double bound = 3.0;

struct FixedSlider : platform::Control {
    float floatValue() const override { return 0.5F; }
};

double milliseconds(const QElapsedTimer& timer) {
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

QString titleOf(int number) {
    return QStringLiteral("IMG_%1.jpg").arg(number, 7, 10, QLatin1Char('0'));
}

void fill(const QString& path) {
    const platform::ScopedFileDescriptor folder = platform::openFolder(path);
    for (int i = 0; i < folderSize; ++i)
        ::close(::openat(folder.get(), qPrintable(titleOf(i)), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
}

double barePass(const QString& path) {
    QElapsedTimer timer;
    timer.start();
    const platform::ScopedFileDescriptor folder = platform::openFolder(path);
    double newest = 0;
    platform::visitFolder(folder.get(), [&](std::string_view name, platform::EntryKind) {
        if (const auto status = platform::fileStatusAt(folder.get(), name.data()))
            newest = std::max(newest, status->modificationTime);
        return true;
    });
    return newest > 0 ? milliseconds(timer) : 0;
}

struct LoadTime {
    double whole = 0;
    double longestStall = 0;  ///< of the main thread, in ms
};

LoadTime load(ImageBrowserDataSource& dataSource, const QString& path) {
    QEventLoop loop;
    QObject::connect(&dataSource, &ImageBrowserDataSource::itemsChanged, &loop, &QEventLoop::quit);
    LoadTime time;
    QElapsedTimer sinceTick;
    QTimer ticks;
    QObject::connect(&ticks, &QTimer::timeout, &loop, [&] {
        time.longestStall = std::max(time.longestStall, milliseconds(sinceTick));
        sinceTick.restart();
    });
    sinceTick.start();
    ticks.start(1);
    QElapsedTimer timer;
    timer.start();
    dataSource.reloadWithPath(path);
    loop.exec();
    time.whole = milliseconds(timer);
    time.longestStall = std::max(time.longestStall, milliseconds(sinceTick));
    QObject::disconnect(&dataSource, nullptr, &loop, nullptr);
    while (dataSource.isLoading())
        QCoreApplication::processEvents();
    return time;
}

bool measureLoad() {
    const QTemporaryDir folder(QDir::tempPath() + QStringLiteral("/tavlin-bench-XXXXXX"));
    const QTemporaryDir empty;
    fill(folder.path());
    FixedSlider slider;
    platform::ImageBrowserView view;
    ImageBrowserDataSource dataSource;
    dataSource.setImageBrowserView(&view);
    dataSource.setImageBrowserSizeSlider(&slider);
    view.setDataSource(&dataSource);
    dataSource.awakeFromNib();

    std::vector<double> bare, first, again, stalls;
    for (int round = 0; round < rounds; ++round) {
        bare.push_back(barePass(folder.path()));
        const LoadTime fresh = load(dataSource, folder.path());
        const LoadTime same = load(dataSource, folder.path());
        first.push_back(fresh.whole);
        again.push_back(same.whole);
        stalls.push_back(std::max(fresh.longestStall, same.longestStall));
        load(dataSource, empty.path());
    }
    const double ratio = median(first) / median(bare);
    std::printf(
        "flat folder of %d: bare pass %.1f ms, load %.1f ms, ratio %.2f (bound %.1f); same again %.1f ms, "
        "ratio %.2f; longest stall of the main thread %.1f ms\n",
        folderSize, median(bare), median(first), ratio, bound, median(again), median(again) / median(bare),
        *std::max_element(stalls.begin(), stalls.end()));
    return ratio <= bound;
}

ImageListRef items(int first, int count) {
    const QString prefix = QStringLiteral("/home/someone/Pictures/2024/");
    ImageList list;
    list.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        list.emplace_back(new ImageObject);
        // A stride that shares no factor with the counts: the order of a hashed directory, not a sorted one.
        list.back()->setPathInFolder(prefix, titleOf(first + static_cast<int>((i * 7'919LL) % count)),
                                     std::nullopt);
    }
    return std::make_shared<const ImageList>(std::move(list));
}

void measureMerge(int count) {
    const ImageListRef shown = items(0, count);
    const ImageListRef imported = items(count / 2, count);
    QElapsedTimer timer;
    timer.start();
    ImageList merged = mergedImages(*shown, *imported);
    const double merging = milliseconds(timer);
    timer.restart();
    sortImages(merged, ImageSortOrder::title);
    std::printf("merge of twice %d, half of them equal: %.1f ms, sort by title %.1f ms\n", count, merging,
                milliseconds(timer));
}

void measureMemory() {
    constexpr int count = 1'000'000;
    const std::size_t before = ::mallinfo2().uordblks + ::mallinfo2().hblkhd;
    const ImageListRef list = items(0, count);
    const std::size_t after = ::mallinfo2().uordblks + ::mallinfo2().hblkhd;
    std::printf("memory: %.1f bytes an item in a list of %zu, titles of 15 characters\n",
                static_cast<double>(after - before) / count, list->size());
}

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    appGlobals = PreferencesDictionary::dictionary();
    for (const int count : {10'000, 100'000, 1'000'000})
        measureMerge(count);
    measureMemory();
    return measureLoad() ? 0 : 1;
}
