// SPDX-License-Identifier: GPL-3.0-or-later
// What the grid of thumbnails costs by the number of its items: grids of 10,000 and of 1,000,000 items are
// driven in turns, and the medians compared. Bound: the larger one's first paint, resize and scroll frame
// take at most 1.5 times the smaller one's. Reloads, whose cost goes with the list, are held to the 50 ms
// that the main thread may be held up at a folder of 100,000; their figures at 1,000,000 are printed.
#include "platform/views/ImageBrowserView.h"

#include <QApplication>
#include <QScrollBar>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <vector>

namespace {

constexpr double ratioBound = 1.5;
constexpr double reloadBound = 50;  // milliseconds
constexpr int roundCount = 21;

struct Item : platform::ImageBrowserItem {
    explicit Item(int number) : title(QStringLiteral("IMG_%1.jpg").arg(number)) {}
    RepresentationType imageRepresentationType() const override { return RepresentationType::path; }
    QString imageRepresentation() const override { return QStringLiteral("/pictures/") + title; }
    QString imageUID() const override { return imageRepresentation(); }
    QString imageTitle() const override { return title; }
    QString imageSubtitle() const override { return {}; }
    QString title;
};

struct Source : platform::ImageBrowserViewDataSource {
    explicit Source(int count) {
        for (int i = 0; i < count; ++i)
            items.push_back(std::make_unique<Item>(i));
    }
    std::size_t numberOfItemsInImageBrowser(platform::ImageBrowserView& /*view*/) override {
        return items.size();
    }
    platform::ImageBrowserItem* imageBrowserItemAtIndex(platform::ImageBrowserView& /*view*/,
                                                        std::size_t index) override {
        return items[index].get();
    }
    std::vector<std::unique_ptr<Item>> items;
};

/// The processor's time of this thread, so that what else runs on the machine does not count.
double nowInMilliseconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

double millisecondsOf(const std::function<void()>& work) {
    const double start = nowInMilliseconds();
    work();
    return nowInMilliseconds() - start;
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + qsizetype(values.size() / 2), values.end());
    return values[values.size() / 2];
}

double firstPaint(Source& source) {
    platform::ImageBrowserView view;
    view.setDataSource(&source);
    view.resize(1280, 800);
    view.show();
    QApplication::processEvents();
    return millisecondsOf([&] {
        view.reloadData();
        view.viewport()->repaint();
    });
}

struct Grid {
    explicit Grid(int count) : source(count) {
        view.setDataSource(&source);
        view.setAnimates(false);
        view.resize(1280, 800);
        view.show();
        view.reloadData();
        QApplication::processEvents();
        // Near the middle, at an item that begins a row in up to ten columns: equally many cells are seen.
        view.scrollTo(view.model()->index(count / 5040 * 2520, 0), QAbstractItemView::PositionAtTop);
        QApplication::processEvents();
    }
    double resize(int round) {
        return millisecondsOf([&] {
            view.resize(1000 + 37 * (round % 9), 800);
            view.viewport()->repaint();
        });
    }
    double scrollFrame() {
        return millisecondsOf([&] {
            view.verticalScrollBar()->setValue(view.verticalScrollBar()->value() + 40);
            QApplication::processEvents();
        });
    }
    double reload() {
        return millisecondsOf([&] {
            view.prepareForReload();
            source.items.erase(source.items.begin() + qsizetype(source.items.size() / 4));
            view.reloadData();
        });
    }
    Source source;
    platform::ImageBrowserView view;
};

bool report(const char* name, const std::vector<double>& small, const std::vector<double>& large) {
    const double ratio = median(large) / median(small);
    std::printf("%-14s 10,000: %7.3f ms   1,000,000: %7.3f ms   ratio %.2f (bound %.1f)\n", name,
                median(small), median(large), ratio, ratioBound);
    return ratio <= ratioBound;
}

}  // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    Grid small(10'000);
    Grid large(1'000'000);
    std::vector<double> paints[2];
    std::vector<double> resizes[2];
    std::vector<double> frames[2];
    firstPaint(small.source);  // fonts and the like are loaded now
    Grid* const grids[2] = {&small, &large};
    for (int round = 0; round < roundCount; ++round)
        for (int turn = 0; turn < 2; ++turn) {
            // Each goes first in every other round, as the second finds other caches.
            const int which = (round + turn) % 2;
            paints[which].push_back(firstPaint(grids[which]->source));
            resizes[which].push_back(grids[which]->resize(round));
            for (int frame = 0; frame < 10; ++frame)
                frames[which].push_back(grids[which]->scrollFrame());
        }
    bool isWithin = report("first paint", paints[0], paints[1]);
    isWithin = report("resize", resizes[0], resizes[1]) && isWithin;
    isWithin = report("scroll frame", frames[0], frames[1]) && isWithin;

    Grid middle(100'000);
    middle.view.selectAll();
    const double reload = median({middle.reload(), middle.reload(), middle.reload()});
    std::printf("reload, 100,000 selected    %7.1f ms (bound %.0f)\n", reload, reloadBound);
    isWithin = reload <= reloadBound && isWithin;
    large.view.setSelectionIndexes({400'000}, false);
    std::printf("reload of 1,000,000         %7.1f ms\n",
                median({large.reload(), large.reload(), large.reload()}));
    large.view.selectAll();
    std::printf("  all selected              %7.1f ms\n",
                median({large.reload(), large.reload(), large.reload()}));
    return isWithin ? 0 : 1;
}
