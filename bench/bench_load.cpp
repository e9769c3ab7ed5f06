// SPDX-License-Identifier: GPL-3.0-or-later
// From reloadWithPath() to the view's reload for flat and nested folders, each beside one pass of getdents64
// and statx over the same tree, in turns; what the main thread is held up by meanwhile (its own processor
// time between two turns of its event loop); the memory of the items.
//
// With a file's name as argument it draws the cost per entry against the folder's size there instead (SVG).
#include "bench/Figures.h"
#include "bench/PlotOfCost.h"
#include "images/ImageBrowserDataSource.h"
#include "images/ImageLoad.h"
#include "platform/FileAccess.h"
#include "platform/PathBytes.h"
#include "platform/views/Control.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"

#include <dirent.h>
#include <fcntl.h>
#include <malloc.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QEventLoop>

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <utility>

namespace {

/// Names of 20 characters in an order that is not the sorted one.
std::string nameOf(int number, int count) {
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "IMG_%012lld.jpg",
                  static_cast<long long>(number) * 7'919 % std::max(count, 1));
    return name.data();
}

/// A folder of empty files, gone with this object; spread over folders of a thousand, of a hundred each,
/// where it is nested. On the memory's file system unless told otherwise: to make and remove a million files
/// on a disk takes minutes.
class Tree {
 public:
    enum class Shape { flat, nested };
    enum class Place { memory, disk };

    Tree(int count, Shape shape, Place place = Place::memory) {
        const std::filesystem::path memory = "/dev/shm";
        const bool isInMemory = place == Place::memory && std::filesystem::is_directory(memory);
        std::string pattern =
            (isInMemory ? memory : std::filesystem::temp_directory_path()) / "tavlin-bench-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr)
            std::abort();
        _path = pattern;
        constexpr int perFolder = 1'000;
        for (int first = 0; first < count; first += shape == Shape::flat ? count : perFolder) {
            const int number = first / perFolder;
            const std::string folder = shape == Shape::flat ? _path
                                                            : _path + "/part" + std::to_string(number / 100) +
                                                                  "/folder" + std::to_string(number % 100);
            std::filesystem::create_directories(folder);
            fill(folder, shape == Shape::flat ? count : std::min(perFolder, count - first));
        }
    }
    ~Tree() {
        std::error_code ignored;
        std::filesystem::remove_all(_path, ignored);
    }
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

    const std::string& path() const { return _path; }

 private:
    static void fill(const std::string& path, int count) {
        const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        for (int i = 0; i < count; ++i)
            ::close(::openat(folder, nameOf(i, count).c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
        ::close(folder);
    }
    std::string _path;
};

/// The floor: getdents64 and statx, folder after folder, on one thread; nothing is kept.
long barePass(int folder) {
    struct Record {
        ino64_t inode;
        off64_t offset;
        unsigned short length;
        unsigned char type;
        char name[1];
    };
    alignas(Record) std::array<char, 65536> buffer;
    long seen = 0;
    for (;;) {
        const long got = ::syscall(SYS_getdents64, folder, buffer.data(), buffer.size());
        if (got <= 0)
            return seen;
        for (long at = 0; at < got;) {
            const auto* record = reinterpret_cast<const Record*>(buffer.data() + at);
            at += record->length;
            if (record->name[0] == '.')
                continue;
            if (record->type == DT_DIR) {
                const int below = ::openat(folder, record->name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
                seen += barePass(below);
                ::close(below);
                continue;
            }
            struct statx status;
            seen += ::statx(folder, record->name, AT_STATX_SYNC_AS_STAT, STATX_BASIC_STATS, &status) == 0;
        }
    }
}

double barePassMilliseconds(const std::string& path) {
    const double start = bench::wallMilliseconds();
    const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const long seen = barePass(folder);
    ::close(folder);
    return seen > 0 ? bench::wallMilliseconds() - start : 0;
}

struct FixedSlider : platform::Control {
    float floatValue() const override { return 0.5F; }
};

struct LoadTime {
    double whole = 0;         ///< ms from reloadWithPath() to the end of the view's reload
    double longestStall = 0;  ///< ms of the main thread's processor time within one turn of its event loop
};

/// A grid with its data source, as the main window has them.
class Browser {
 public:
    Browser() {
        _images.setImageBrowserView(&_view);
        _images.setImageBrowserSizeSlider(&_slider);
        _view.setDataSource(&_images);
        _view.resize(1280, 800);
        _images.awakeFromNib();
        _view.show();
        QApplication::processEvents();
    }
    LoadTime load(const std::string& path) {
        QEventLoop loop;
        LoadTime time;
        double mark = bench::threadMilliseconds();
        const auto turnEnds = [&] {
            const double now = bench::threadMilliseconds();
            time.longestStall = std::max(time.longestStall, now - std::exchange(mark, now));
        };
        auto* dispatcher = QAbstractEventDispatcher::instance();
        QObject::connect(dispatcher, &QAbstractEventDispatcher::awake, &loop, turnEnds);
        QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, &loop, turnEnds);
        const double start = bench::wallMilliseconds();
        QObject::connect(&_images, &ImageBrowserDataSource::itemsChanged, &loop,
                         [&] { time.whole = bench::wallMilliseconds() - start; });
        QObject::connect(&_images, &ImageBrowserDataSource::loadingChanged, &loop, [&](bool isLoading) {
            if (!isLoading)
                loop.quit();
        });
        _images.reloadWithPath(QString::fromStdString(path));
        loop.exec();
        QApplication::processEvents();
        return time;
    }
    std::size_t count() const { return _images.numberOfImages(); }

 private:
    FixedSlider _slider;
    platform::ImageBrowserView _view;
    ImageBrowserDataSource _images;
};

struct Times {
    std::vector<double> bare, first, again, stalls;
};

Times measure(const Tree& tree, int rounds) {
    const Tree empty(0, Tree::Shape::flat);
    Browser browser;
    Times times;
    barePassMilliseconds(tree.path());
    for (int round = 0; round < rounds; ++round) {
        times.bare.push_back(barePassMilliseconds(tree.path()));
        const LoadTime first = browser.load(tree.path());
        const LoadTime again = browser.load(tree.path());
        times.first.push_back(first.whole);
        times.again.push_back(again.whole);
        times.stalls.push_back(std::max(first.longestStall, again.longestStall));
        browser.load(empty.path());
    }
    return times;
}

/// What the process has of the machine's memory.
double residentBytes() {
    ::malloc_trim(0);
    long pages = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE));
}

void measureMemory(bench::Figures& figures, const Tree& tree, int count) {
    Browser browser;
    const double before = residentBytes();
    browser.load(tree.path());
    while (ImageLoad::numberRunning() > 0)
        std::this_thread::yield();
    const double perItem = (residentBytes() - before) / static_cast<double>(browser.count());
    figures.atMost("memory per item at rest, " + bench::withCommas(count) + " names of 20 characters",
                   perItem, 250, "bytes");
}

void drawPlot(const char* file) {
    PlotOfCost plot;
    for (const int count : {1'000, 3'000, 10'000, 30'000, 100'000, 300'000, 1'000'000}) {
        if (bench::isShort() && count > 100'000)
            break;
        const Tree tree(count, Tree::Shape::flat);
        const Times times = measure(tree, bench::rounds);
        plot.add(count, bench::median(times.first), bench::median(times.again), bench::median(times.bare));
    }
    plot.write(file);
}

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    appGlobals = PreferencesDictionary::dictionary();
    appGlobals->plausibilitaetsTest();
    if (argc > 1) {
        drawPlot(argv[1]);
        return EXIT_SUCCESS;
    }
    bench::Figures figures;
    const int many = bench::isShort() ? 100'000 : 1'000'000;
    {
        const Tree tree(many, Tree::Shape::flat);
        measureMemory(figures, tree, many);  // first of all, in a process that has kept nothing
        const Times times = measure(tree, bench::rounds);
        figures.ratio("flat folder of " + bench::withCommas(many), times.first, times.bare, 2.5);
        figures.atMost("longest hold-up of the main thread meanwhile, merge included",
                       *std::max_element(times.stalls.begin(), times.stalls.end()), 50, "ms");
    }
    for (const Tree::Place place : {Tree::Place::memory, Tree::Place::disk}) {
        const Tree tree(100'000, Tree::Shape::flat, place);
        const Times times = measure(tree, bench::rounds);
        const char* where = place == Tree::Place::memory ? " (memory file system)" : " (disk)";
        figures.ratio(std::string("flat folder of 100,000") + where, times.first, times.bare, 2.0);
        figures.ratio(std::string("reload of an unchanged 100,000") + where, times.again, times.bare, 2.0);
    }
    {
        appGlobals->setObjectForKey(true, PreferenceKeys::imageBrowserRecursive);
        const Tree tree(many, Tree::Shape::nested);
        const Times times = measure(tree, bench::rounds);
        figures.ratio("nested folders of " + bench::withCommas(many) + ", recursive", times.first, times.bare,
                      2.5);
        appGlobals->setObjectForKey(false, PreferenceKeys::imageBrowserRecursive);
    }
    return figures.exitStatus();
}
