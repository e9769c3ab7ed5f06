// SPDX-License-Identifier: GPL-3.0-or-later
// A thumbnail of a JPEG from end to end (file to pixels at hand, by way of a decoder process) beside the
// entropy decoding of the same file alone, which nobody can spare: in the processor's time of both processes,
// so that what else runs on the machine does not count. Then two decoders against one, by the clock on the
// wall, beside the same of the entropy decoding.
#include "bench/Figures.h"
#include "platform/FileAccess.h"
#include "platform/imaging/DecoderProcess.h"
#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QRandomGenerator>

#include <cstdio>
#include <latch>
#include <thread>

#include <jpeglib.h>

using namespace platform;
using namespace std::chrono_literals;

namespace {

/// Something of a photograph: soft shapes with grain.
QString makePicture(const TestHome& home, QSize size) {
    QImage image(size, QImage::Format_RGB32);
    QRandomGenerator random(7);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x) {
            const int grain = int(random.bounded(24U)) - 12;
            const auto level = [&](double wave) {
                return std::clamp(int(127 + 90 * std::sin(x * wave) * std::cos(y * wave * 0.7)) + grain, 0,
                                  255);
            };
            image.setPixel(x, y, qRgb(level(0.01), level(0.017), level(0.006)));
        }
    QString path = home.path() + QStringLiteral("/%1.jpg").arg(size.width());
    image.save(path, "jpeg", 90);
    return path;
}

/// Reads the file and decodes its coefficients; no inverse transform, no colours.
void decodeEntropy(const QString& path) {
    QFile file(path);
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
    // Row by row into a decompressor that makes as few pixels of them as it can: unlike reading all
    // coefficients at once this does not fill the memory with them.
    decoder.scale_num = 1;
    decoder.scale_denom = 8;
    decoder.out_color_space = JCS_GRAYSCALE;
    jpeg_start_decompress(&decoder);
    std::vector<JSAMPLE> row(decoder.output_width);
    JSAMPROW rows[] = {row.data()};
    while (decoder.output_scanline < decoder.output_height)
        jpeg_read_scanlines(&decoder, rows, 1);
    jpeg_finish_decompress(&decoder);
    jpeg_destroy_decompress(&decoder);
}

void makeThumbnail(DecoderProcess& decoder, const QString& path) {
    const ScopedFileDescriptor file = openRegularFile(path);
    DecodeRequest request;
    request.descriptor = file.get();
    const DecodeResult result = decoder.decode(request, 20s);
    if (!std::holds_alternative<DecodedPicture>(result)) {
        std::fprintf(stderr, "no thumbnail of %s\n", qPrintable(path));
        std::exit(EXIT_FAILURE);
    }
}

double processorOf(const DecoderProcess& decoder) {
    clockid_t clock{};
    ::clock_getcpuclockid(decoder.processId(), &clock);
    return bench::clockMilliseconds(clock) + bench::processMilliseconds();
}

void measureOne(bench::Figures& figures, const char* what, const QString& path, int turns, double limit) {
    DecoderProcess decoder(DecoderProcess::installedProgram());
    makeThumbnail(decoder, path);
    std::vector<double> ours;
    std::vector<double> floor;
    for (int turn = 0; turn < turns; ++turn) {
        const double before = processorOf(decoder);
        makeThumbnail(decoder, path);
        const double between = processorOf(decoder);
        decodeEntropy(path);
        ours.push_back(between - before);
        floor.push_back(processorOf(decoder) - between);
    }
    figures.ratio(what, ours, floor, limit);
}

/// How many times as fast two threads are as one.
template <typename Work>
double gainOfTwo(const Work& work) {
    constexpr int pictures = 20;
    std::vector<double> gains;
    const auto run = [&](int thread, int count) {
        for (int i = 0; i < count; ++i)
            work(thread);
    };
    for (int round = 0; round < bench::rounds; ++round) {
        run(0, 1);  // starts what has yet to start
        const double start = bench::wallMilliseconds();
        run(0, pictures);
        const double alone = bench::wallMilliseconds() - start;
        std::latch isReady(2);
        std::thread other([&] {
            run(1, 1);
            isReady.arrive_and_wait();
            run(1, pictures / 2);
        });
        isReady.arrive_and_wait();
        const double middle = bench::wallMilliseconds();
        run(0, pictures / 2);
        other.join();
        gains.push_back(alone / (bench::wallMilliseconds() - middle));
    }
    return bench::median(gains);
}

}  // namespace

int main(int argc, char** argv) {
    const TestHome home;
    const QCoreApplication application(argc, argv);
    DecoderProcess::setInstalledProgram(
        qEnvironmentVariable("TAVLIN_PREFIX", QStringLiteral(TAVLIN_BUILD_DIR)) +
        QStringLiteral("/libexec/tavlin/tavlin-decoder"));
    const QString large = makePicture(home, {6000, 4000});
    const QString small = makePicture(home, {1632, 1224});
    bench::Figures figures;
    measureOne(figures, "thumbnail of a 24-megapixel JPEG", large, 9, 1.25);
    measureOne(figures, "thumbnail of a 2-megapixel JPEG", small, 25, 1.8);

    // Each decoder is started by the thread it works for, or it would end with another.
    DecoderProcess first(DecoderProcess::installedProgram());
    DecoderProcess second(DecoderProcess::installedProgram());
    const double ours = gainOfTwo([&](int thread) { makeThumbnail(thread == 0 ? first : second, small); });
    const double floor = gainOfTwo([&](int) { decodeEntropy(small); });
    figures.atLeast("two decoders against one", ours, floor, 1.8);
    return figures.exitStatus();
}
