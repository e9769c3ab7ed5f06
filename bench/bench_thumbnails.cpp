// SPDX-License-Identifier: GPL-3.0-or-later
// From the start of the process to the moment when the main window, opened on a folder of pictures, shows the
// final thumbnail in each visible cell: with an empty store of thumbnails, beside a bare window and the
// scaled decoding of the visible pictures by threads on all cores; and with a full one, beside a bare window
// and reading the visible pictures' stored thumbnails.
#include "app/MainWindowInterface.h"
#include "bench/Figures.h"
#include "platform/FileAccess.h"
#include "platform/imaging/ThumbnailStore.h"
#include "platform/PathBytes.h"
#include "platform/views/ImageBrowserView.h"
#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRandomGenerator>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

#include <jpeglib.h>

using namespace platform;
using namespace std::chrono_literals;

namespace {

constexpr int pictures = 1'000;
constexpr int distinctPictures = 100;
/// With TAVLIN_BENCH_STORE set, for the thumbnails to reach the store before the process ends.
constexpr auto timeToStore = 1s;

// --- the program

/// Once all visible cells are painted, prints when that was, then their paths and pictures' longer sides, and
/// ends the process.
class EndWithThumbnails : public QObject {
 public:
    explicit EndWithThumbnails(MainWindowInterface& interface)
        : QObject(&interface.mainWindow()), _interface(interface), _grid(interface.mainWindow().grid()) {
        connect(&_interface.thumbnails(), &ThumbnailQueue::thumbnailChanged, this,
                &EndWithThumbnails::endWhenAllAreShown);
    }

 private:
    void endWhenAllAreShown() {
        std::string lines;
        const QRect visible = _grid.viewport()->rect();
        for (int row = 0; row < static_cast<int>(_interface.images().numberOfImages()); ++row) {
            if (!visible.intersects(_grid.visualRect(_grid.model()->index(row, 0))))
                break;
            const auto index = static_cast<std::size_t>(row);
            const QString path =
                _interface.images().imageBrowserItemAtIndex(_grid, index)->imageRepresentation();
            const Thumbnail thumbnail = _interface.thumbnails().thumbnail(path);
            if (thumbnail.state != Thumbnail::State::complete)
                return;
            const QSize size = thumbnail.image.size();
            lines += path.toStdString() + '\n' + std::to_string(std::max(size.width(), size.height())) + '\n';
        }
        _grid.viewport()->repaint();
        std::printf("%f\n%s", bench::wallMilliseconds(), lines.c_str());
        std::fflush(stdout);
        const int status = lines.empty() ? EXIT_FAILURE : EXIT_SUCCESS;
        if (!qEnvironmentVariableIsSet("TAVLIN_BENCH_STORE"))
            std::_Exit(status);
        disconnect(&_interface.thumbnails(), nullptr, this, nullptr);
        QTimer::singleShot(timeToStore, this, [status] { std::_Exit(status); });
    }

    MainWindowInterface& _interface;
    ImageBrowserView& _grid;
};

int openTavlin(int argc, char** argv) {
    return Application::run(argc, argv, [] {
        auto interface = MainWindowInterface::load();
        new EndWithThumbnails(static_cast<MainWindowInterface&>(*interface));
        return interface;
    });
}

// --- the driver

/// Sections of one large picture with grain; each stands in the folder under several names in turn.
void makePictures(const QString& folder) {
    constexpr int step = 8;
    QImage image(1632 + step * distinctPictures, 1224, QImage::Format_RGB32);
    QRandomGenerator random(7);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const int level = int(115 + 90 * std::sin(x * 0.01) * std::cos(y * 0.007)) + int(random() % 24);
            image.setPixel(x, y, qRgb(level, 255 - level, (x + y) / 12 % 256));
        }
    const auto pathOf = [&](int number) {
        return pathByAppending(folder, QStringLiteral("%1.jpg").arg(number, 4, 10, QLatin1Char('0')));
    };
    for (int i = 0; i < pictures; ++i) {
        if (i >= distinctPictures) {
            std::filesystem::create_hard_link(pathOf(i % distinctPictures).toStdString(),
                                              pathOf(i).toStdString());
            continue;
        }
        image.copy(i * step, 0, 1632, 1224).save(pathOf(i), "jpeg", 90);
        QFile file(pathOf(i));
        if (file.open(QIODevice::ReadWrite))
            file.setFileTime(QDateTime::fromSecsSinceEpoch(1'600'000'000), QFile::FileModificationTime);
    }
}

struct Cell {
    QString path;
    int pixels = 0;
};

struct Run {
    double milliseconds = 0;
    std::vector<Cell> cells;
};

Run run(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    const double start = bench::wallMilliseconds();
    process.start(program, arguments);
    if (!process.waitForFinished() || process.exitCode() != 0) {
        std::fprintf(stderr, "%s showed nothing\n", qPrintable(program));
        std::exit(EXIT_FAILURE);
    }
    const QList<QByteArray> lines = process.readAllStandardOutput().split('\n');
    Run result{lines.value(0).toDouble() - start, {}};
    for (qsizetype i = 1; i + 1 < lines.size(); i += 2)
        result.cells.push_back({QString::fromUtf8(lines[i]), lines[i + 1].toInt()});
    return result;
}

/// At the smallest of libjpeg's scales that has the wanted pixels.
void decodeScaled(const Cell& cell) {
    QFile file(cell.path);
    if (!file.open(QIODevice::ReadOnly))
        std::abort();
    const QByteArray bytes = file.readAll();
    jpeg_decompress_struct decoder;
    jpeg_error_mgr errors;
    decoder.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&decoder);
    jpeg_mem_src(&decoder, reinterpret_cast<const unsigned char*>(bytes.data()),
                 static_cast<unsigned long>(bytes.size()));
    jpeg_read_header(&decoder, TRUE);
    decoder.scale_denom = 8;
    decoder.scale_num = 1;
    while (decoder.scale_num < 8 && std::max(decoder.image_width, decoder.image_height) * decoder.scale_num <
                                        static_cast<unsigned>(cell.pixels) * decoder.scale_denom)
        ++decoder.scale_num;
    jpeg_start_decompress(&decoder);
    std::vector<JSAMPLE> row(std::size_t{decoder.output_width} * 3);
    JSAMPROW rows[] = {row.data()};
    while (decoder.output_scanline < decoder.output_height)
        jpeg_read_scanlines(&decoder, rows, 1);
    jpeg_finish_decompress(&decoder);
    jpeg_destroy_decompress(&decoder);
}

template <typename Work>
double millisecondsOnAllCores(const std::vector<Cell>& cells, const Work& work) {
    const double start = bench::wallMilliseconds();
    {
        std::atomic<std::size_t> next = 0;
        std::vector<std::jthread> threads;
        for (unsigned i = 0; i < std::max(1U, std::thread::hardware_concurrency()); ++i)
            threads.emplace_back([&] {
                for (std::size_t at = next++; at < cells.size(); at = next++)
                    work(cells[at]);
            });
    }
    return bench::wallMilliseconds() - start;
}

QString storedThumbnail(const Cell& cell) {
    const ThumbnailStore store;
    const ScopedFileDescriptor file = openRegularFile(cell.path);
    const auto original = store.originalOf(cell.path, file.get());
    return original ? store.thumbnailPath(original->uri, ThumbnailStore::storedSize(cell.pixels)) : QString();
}

void emptyStore() {
    std::filesystem::remove_all(ThumbnailStore::defaultFolder().toStdString());
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsSet("TAVLIN_BENCH_WINDOW"))
        return openTavlin(argc, argv);

    const TestHome home;
    const QCoreApplication application(argc, argv);
    qputenv("TAVLIN_BENCH_WINDOW", "1");
    const QString program = QCoreApplication::applicationFilePath();
    const QString bareProgram = QCoreApplication::applicationDirPath() + QStringLiteral("/bare_window");
    const QString folder = pathByAppending(home.path(), QStringLiteral("pictures"));
    QDir().mkpath(folder);
    makePictures(folder);

    bench::Figures figures;
    std::vector<double> ours;
    std::vector<double> floor;
    std::vector<Cell> cells = run(program, {folder}).cells;
    for (int round = 0; round < bench::rounds; ++round) {
        emptyStore();
        const double bare = run(bareProgram, {}).milliseconds;
        floor.push_back(bare + millisecondsOnAllCores(cells, decodeScaled));
        ours.push_back(run(program, {folder}).milliseconds);
    }
    figures.ratio("visible thumbnails of a cold folder of 1,000 2-megapixel JPEGs, from process start", ours,
                  floor, 2.5);

    const auto isStored = [](const Cell& cell) {
        return QFile::exists(storedThumbnail(cell));
    };
    qputenv("TAVLIN_BENCH_STORE", "1");
    for (int i = 0; i < 10 && !std::all_of(cells.begin(), cells.end(), isStored); ++i)
        run(program, {folder});
    qunsetenv("TAVLIN_BENCH_STORE");
    for (Cell& cell : cells)
        cell.path = storedThumbnail(cell);
    ours.clear();
    floor.clear();
    for (int round = 0; round < bench::rounds; ++round) {
        const double bare = run(bareProgram, {}).milliseconds;
        floor.push_back(bare + millisecondsOnAllCores(cells, [](const Cell& cell) {
                            if (QImage(cell.path).isNull())
                                std::abort();
                        }));
        ours.push_back(run(program, {folder}).milliseconds);
    }
    figures.ratio("the same, warm", ours, floor, 1.5);
    return figures.exitStatus();
}
