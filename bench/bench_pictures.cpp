// SPDX-License-Identifier: GPL-3.0-or-later
// What the picture view costs. First pixels: seconds until a view shows all of a 24-megapixel JPEG, to
// those that libjpeg-turbo's own scaled decoding takes on the same file, the medians of alternating runs.
// Memory: this process's resident bytes for each of ten such views. Metadata: those of that JPEG, beyond a
// bare round trip to the decoder, the medians of alternating runs. Panning: what one frame costs the main
// thread of the processor's time at most, over a gigapixel TIFF at its exact pixels and between two levels;
// the time by the clock, which what else runs on the machine lengthens, stands beside it.
#include "bench/Figures.h"
#include "decoder/TestPictures.h"
#include "platform/imaging/DecodeThreads.h"
#include "platform/imaging/TileCache.h"
#include "platform/views/ImageView.h"
#include "testing/TestHome.h"
#include "testing/TiledTiff.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>

#include <jpeglib.h>

using namespace platform;

namespace {

constexpr double firstPixelsBound = 1.35;  // of libjpeg-turbo's own time
constexpr double memoryBound = 40;         // MB for a window
constexpr double metadataBound = 3;        // milliseconds
constexpr double frameBound = 16;          // milliseconds
constexpr QSize windowSize(1400, 950);
constexpr int rounds = 9;
constexpr int windowCount = 10;

double seconds(const std::function<void()>& work) {
    QElapsedTimer timer;
    timer.start();
    work();
    return double(timer.nsecsElapsed()) / 1e9;
}

double residentMegabytes() {
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    constexpr double kPageBytes = 4096;
    return file.readAll().split(' ').value(1).toDouble() * kPageBytes / 1e6;
}

/// Metadata as a camera writes it: 48 values, and a thumbnail.
QByteArray cameraMetadata() {
    using namespace testPictures;
    constexpr quint32 kFirstDirectory = 2 + 2 * 12 + 4;
    std::vector<TiffEntry> entries;
    for (quint16 tag = 0; tag < 48; ++tag)
        entries.push_back({static_cast<quint16>(0x9200 + tag), 4, tag});
    const quint32 camera = 8 + kFirstDirectory;
    const auto thumbnail = static_cast<quint32>(camera + 2 + 48 * 12 + 4);
    const QByteArray pixels = written(quadrants({160, 120}), "jpeg");
    return tiffHeader() + tiffDirectory({{0x112, 3, 1}, {0x8769, 4, camera}}, thumbnail) +
           tiffDirectory(entries) +
           tiffDirectory({{0x201, 4, thumbnail + kFirstDirectory}, {0x202, 4, quint32(pixels.size())}}) +
           pixels;
}

/// Detail everywhere, as a photograph has it.
void makePhotograph(const QString& path) {
    QImage image(6000, 4000, QImage::Format_RGB32);
    quint32 noise = 1;
    for (int y = 0; y < image.height(); ++y) {
        auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            noise = noise * 1664525 + 1013904223;
            const int grain = int(noise >> 28);
            row[x] = qRgb(int(120 + 90 * std::sin(x * 0.011) + grain),
                          int(120 + 90 * std::cos(y * 0.013) + grain), (x / 40 + y / 40) % 200 + grain);
        }
    }
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(testPictures::withExifInJpeg(testPictures::written(image, "jpeg", 90), cameraMetadata()));
}

/// What libjpeg-turbo itself takes for the smallest scale that fills the window.
void decodeDirectly(const QString& path) {
    FILE* file = std::fopen(QFile::encodeName(path).constData(), "rb");
    jpeg_decompress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&info);
    jpeg_stdio_src(&info, file);
    jpeg_read_header(&info, TRUE);
    info.out_color_space = JCS_EXT_BGRA;
    info.scale_denom = 8;
    const double scale = std::min(double(windowSize.width()) / info.image_width,
                                  double(windowSize.height()) / info.image_height);
    info.scale_num = unsigned(std::ceil(8 * scale));
    jpeg_start_decompress(&info);
    QImage image(int(info.output_width), int(info.output_height), QImage::Format_RGB32);
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = image.scanLine(int(info.output_scanline));
        jpeg_read_scanlines(&info, &row, 1);
    }
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
    std::fclose(file);
}

std::unique_ptr<ImageView> makeView() {
    auto view = std::make_unique<ImageView>();
    view->resize(windowSize);
    view->show();
    return view;
}

void waitFor(const std::function<bool()>& isDone) {
    QElapsedTimer patience;
    patience.start();
    constexpr int kPatience = 60'000;
    while (!isDone() && patience.elapsed() < kPatience)
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

bool showsAll(const ImageView& view) {
    const QSize shown = view.pictureGeometry().pictureRect().toAlignedRect().size();
    return !view.image().isNull() && view.image().width() >= shown.width() - 1;
}

void firstPixels(bench::Figures& figures, const QString& path) {
    std::vector<double> ours;
    std::vector<double> direct;
    const auto view = makeView();
    for (int i = 0; i <= rounds; ++i) {
        const double one = seconds([&] {
            view->setImageWithPath(path);
            waitFor([&] { return showsAll(*view); });
        });
        const double other = seconds([&] { decodeDirectly(path); });
        if (i == 0)  // the decoder starts
            continue;
        ours.push_back(one * 1e3);
        direct.push_back(other * 1e3);
    }
    figures.ratio("first full picture of a 24-megapixel JPEG; floor: libjpeg-turbo's scaled decoding", ours,
                  direct, firstPixelsBound);
}

void memoryOfWindows(bench::Figures& figures, const QString& path) {
    std::vector<std::unique_ptr<ImageView>> views;
    const double before = residentMegabytes();
    for (int i = 0; i < windowCount; ++i) {
        views.push_back(makeView());
        views.back()->setImageWithPath(path);
    }
    waitFor([&] { return std::ranges::all_of(views, [](const auto& view) { return showsAll(*view); }); });
    QApplication::processEvents();
    const double fitted = (residentMegabytes() - before) / windowCount;
    for (const auto& view : views) {
        QKeyEvent one(QEvent::KeyPress, Qt::Key_1, Qt::NoModifier);
        QApplication::sendEvent(view.get(), &one);
    }
    waitFor([&] {
        return std::ranges::all_of(views,
                                   [](const auto& view) { return view->tiles() && view->tiles()->isIdle(); });
    });
    QApplication::processEvents();
    const double exact = (residentMegabytes() - before) / windowCount;
    figures.atMost("memory for each of ten windows of 24 megapixels, fitted", fitted, memoryBound, "MB");
    figures.atMost("the same at 100 %", exact, memoryBound, "MB");
}

void metadata(bench::Figures& figures, const QString& path) {
    const QString nothing = path + QStringLiteral(".none");
    QFile(nothing).open(QIODevice::WriteOnly);
    const DecodeRequest request{DecodeRequest::Kind::properties, -1, 1};
    const auto ask = [&](const QString& file) {
        return seconds([&] {
            DecodeTask task(DecodeThreads::properties(), file, request, std::chrono::seconds(20));
            task.waitFor(std::chrono::seconds(20));
        });
    };
    constexpr int kRounds = 101;
    std::vector<double> whole;
    std::vector<double> bare;
    for (int i = 0; i <= kRounds; ++i) {
        whole.push_back(ask(path));
        bare.push_back(ask(nothing));
    }
    DecodeTask task(DecodeThreads::properties(), path, request, std::chrono::seconds(20));
    task.waitFor(std::chrono::seconds(20));
    const DecodeResult result = task.takeResult();
    const auto* found = std::get_if<DecodedProperties>(&result);
    const bool isComplete = found && found->properties.back().first == u"{Exif}" &&
                            found->properties.back().second.dictionary()->entries.size() > 8;
    const double trip = bench::median(bare) * 1e3;
    bench::Figures::note("a bare round trip to the metadata's decoder", trip, "ms");
    figures.atMost("metadata of a 24-megapixel JPEG, beyond that",
                   isComplete ? bench::median(whole) * 1e3 - trip : HUGE_VAL, metadataBound, "ms");
}

/// What the frames of a drag cost the main thread, milliseconds: each what holds it up longest.
struct FrameCosts {
    double longest = 0;  ///< of the processor's time
    std::vector<double> byClock;

    void addFrame() { byClock.push_back(0); }
    void addTurn(const std::function<void()>& work) {
        const double byProcessor = bench::threadMilliseconds();
        const double turn = 1e3 * seconds(work);
        longest = std::max(longest, bench::threadMilliseconds() - byProcessor);
        byClock.back() = std::max(byClock.back(), turn);
    }
};

/// Of a drag across the picture, at one zoom. What comes from the decoders counts with the rest of a frame.
FrameCosts frameCosts(ImageView& view) {
    FrameCosts costs;
    const QPointF middle(windowSize.width() / 2.0, windowSize.height() / 2.0);
    const auto send = [&](QEvent::Type type, QPointF at) {
        QMouseEvent event(type, at, at, type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                          Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&view, &event);
    };
    constexpr int kFrames = 300;
    for (int frame = 0; frame < kFrames; ++frame) {
        if (frame % 15 == 0)
            send(QEvent::MouseButtonPress, middle);
        const QPointF at = middle - QPointF(frame % 15 + 1, frame % 15 + 1) * 37;
        costs.addFrame();
        costs.addTurn([&] {
            send(QEvent::MouseMove, at);
            QApplication::processEvents();
        });
        QElapsedTimer rest;  // to the next frame of the screen, with what comes from the decoders
        rest.start();
        while (rest.elapsed() < 8)
            costs.addTurn([] { QApplication::processEvents(QEventLoop::AllEvents, 2); });
    }
    return costs;
}

void panning(bench::Figures& figures, const QString& path) {
    testPictures::writeSparsePyramid(path, 100'000, 7);
    const auto view = makeView();
    view->setImageWithPath(path);
    waitFor([&] { return showsAll(*view); });
    for (const int key : {Qt::Key_1, Qt::Key_Minus}) {
        QKeyEvent zoom(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(view.get(), &zoom);
        waitFor([&] { return view->tiles() && view->tiles()->isIdle(); });
        const FrameCosts costs = frameCosts(*view);
        const std::string what = "panning a 10-gigapixel TIFF at " +
                                 std::to_string(std::lround(view->pictureGeometry().scale() * 100)) + " %: ";
        figures.atMost(what + "the main thread's work of the longest frame", costs.longest, frameBound, "ms");
        bench::Figures::note(what + "99 of 100 frames, by the clock", bench::quantile(costs.byClock, 0.99),
                             "ms");
    }
}

}  // namespace

int main(int argc, char** argv) {
    const TestHome home;
    const QApplication application(argc, argv);
    DecoderProcess::setInstalledProgram(
        qEnvironmentVariable("TAVLIN_PREFIX", QStringLiteral(TAVLIN_BUILD_DIR)) +
        QStringLiteral("/libexec/tavlin/tavlin-decoder"));
    const QString photograph = home.path() + QStringLiteral("/photograph.jpg");
    makePhotograph(photograph);
    bench::Figures figures;
    firstPixels(figures, photograph);
    memoryOfWindows(figures, photograph);
    metadata(figures, photograph);
    panning(figures, home.path() + QStringLiteral("/giga.tif"));
    return figures.exitStatus();
}
