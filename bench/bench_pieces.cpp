// SPDX-License-Identifier: GPL-3.0-or-later
// The pieces that are called for each item: a log call with the log off, a comparison, the merge, the sorts,
// a path from bytes. Medians of repetitions, in the processor's time. Limit: 40 ns a log call.
#include "bench/Figures.h"
#include "images/ImageMerge.h"
#include "platform/PathBytes.h"
#include "settings/PreferencesDictionary.h"
#include "support/Logging.h"

#include <benchmark/benchmark.h>

namespace {

QString titleOf(int number) {
    return QStringLiteral("IMG_%1.jpg").arg(number, 12, 10, QLatin1Char('0'));
}

/// In the order of a hashed directory: a stride that shares no factor with the counts.
ImageList items(int first, int count) {
    const QString prefix = QStringLiteral("/home/someone/Pictures/2024/");
    ImageList list;
    list.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        platform::FileStatus status;
        const int number = first + static_cast<int>((i * 7'919LL) % count);
        status.modificationTime = 1.6e9 + number % 100'000;
        list.emplace_back(new ImageObject);
        list.back()->setPathInFolder(prefix, titleOf(number), status);
    }
    return list;
}

void logCallOff(benchmark::State& state) {
    const QString path = QStringLiteral("/home/someone/Pictures/2023/IMG_0001.jpg");
    int number = 0;
    while (state.KeepRunning())
        logWithMethodName("-[ImageBrowserDataSource reloadWithPath:]", 120, u"path: %@ (%i)", path, ++number);
}

void compareTitles(benchmark::State& state) {
    const ImageList list = items(0, 2);
    while (state.KeepRunning())
        benchmark::DoNotOptimize(list[0]->compareTitle(*list[1]));
}

void merge(benchmark::State& state) {
    const auto count = static_cast<int>(state.range(0));
    const ImageList shown = items(0, count);
    const ImageList imported = items(count / 2, count);
    while (state.KeepRunning())
        benchmark::DoNotOptimize(mergedImages(shown, imported));
}

void sort(benchmark::State& state, ImageSortOrder order) {
    const ImageList list = items(0, static_cast<int>(state.range(0)));
    while (state.KeepRunning()) {
        ImageList copy = list;
        sortImages(copy, order);
        benchmark::DoNotOptimize(copy);
    }
}

void pathFromBytes(benchmark::State& state, const char* name) {
    while (state.KeepRunning())
        benchmark::DoNotOptimize(platform::pathFromBytes(name));
}

void bytesFromPath(benchmark::State& state) {
    const QString path = QStringLiteral("/home/someone/Pictures/2024/IMG_000000000001.jpg");
    while (state.KeepRunning())
        benchmark::DoNotOptimize(platform::bytesFromPath(path));
}

BENCHMARK(logCallOff);
BENCHMARK(compareTitles);
BENCHMARK(merge)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sort, byTitle, ImageSortOrder::title)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(sort, byTime, ImageSortOrder::modificationTime)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(pathFromBytes, plain, "IMG_000000000001.jpg");
BENCHMARK_CAPTURE(pathFromBytes, notUtf8, "IMG_\xff\xfe.jpg");
BENCHMARK(bytesFromPath);

/// Makes rows of the table out of the medians.
class Rows : public benchmark::BenchmarkReporter {
 public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.aggregate_name != "median")
                continue;
            const double time = run.GetAdjustedCPUTime();
            const std::string name = run.run_name.function_name + " " + run.run_name.args;
            if (run.run_name.function_name == "logCallOff")
                _figures.atMost("a log call, log off", time, 40, "ns");
            else
                bench::Figures::note(name, time, benchmark::GetTimeUnitString(run.time_unit));
        }
    }
    int exitStatus() const { return _figures.exitStatus(); }

 private:
    bench::Figures _figures;
};

}  // namespace

int main(int argc, char** argv) {
    appGlobals = PreferencesDictionary::dictionary();
    appGlobals->plausibilitaetsTest();
    std::vector<char*> arguments(argv, argv + argc);
    char repetitions[] = "--benchmark_repetitions=5";
    char time[] = "--benchmark_min_time=0.05";
    arguments.insert(arguments.begin() + 1, {repetitions, time});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    Rows rows;
    benchmark::RunSpecifiedBenchmarks(&rows);
    return rows.exitStatus();
}
