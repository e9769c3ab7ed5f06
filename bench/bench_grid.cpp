// SPDX-License-Identifier: GPL-3.0-or-later
// What the grid of thumbnails costs by the number of its items, in the main thread's processor time: grids of
// 10,000 and of 1,000,000 items are driven in turns, and the medians compared. Reloads, whose cost goes with
// the list, are held to the 50 ms that the main thread may be held up for.
#include "bench/Figures.h"
#include "platform/views/ImageBrowserView.h"

#include <QApplication>
#include <QScrollBar>

#include <functional>
#include <memory>
#include <vector>

namespace {

constexpr double ratioLimit = 1.2;
constexpr double scrollLimit = 4;   // milliseconds
constexpr double reloadLimit = 50;  // milliseconds
constexpr int roundCount = 41;

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

double millisecondsOf(const std::function<void()>& work) {
    const double start = bench::threadMilliseconds();
    work();
    return bench::threadMilliseconds() - start;
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
    bench::Figures figures;
    figures.ratio("first paint of 1,000,000 items against 10,000", paints[1], paints[0], ratioLimit);
    figures.ratio("resize, the same", resizes[1], resizes[0], ratioLimit);
    figures.atMost("scroll step, p99, 1,000,000 items", bench::quantile(frames[1], 0.99), scrollLimit, "ms");

    std::vector<double> reloads;
    reloads.reserve(bench::rounds);
    for (int round = 0; round < bench::rounds; ++round)
        reloads.push_back(large.reload());
    figures.atMost("grid's reload of 1,000,000", bench::median(reloads), reloadLimit, "ms");
    large.view.selectAll();
    reloads.clear();
    for (int round = 0; round < bench::rounds; ++round)
        reloads.push_back(large.reload());
    figures.atMost("the same, all selected", bench::median(reloads), reloadLimit, "ms");
    return figures.exitStatus();
}
