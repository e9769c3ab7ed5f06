// SPDX-License-Identifier: GPL-3.0-or-later
// A thumbnail of a JPEG from end to end (file to pixels at hand, by way of a decoder process) beside the
// entropy decoding of the same file alone, which nobody can spare: in the processor's time of both processes,
// so that what else runs on the machine does not count. Then two decoders against one, by the clock on the
// wall, beside the same of the entropy decoding. A camera's raw file stands beside the entropy decoding of
// the preview that it holds; HEIC and AVIF, which another process decodes on all cores, beside their
// library's decoding in place, by the clock.
#include "bench/Figures.h"
#include "decoder/TestPictures.h"
#include "platform/FileAccess.h"
#include "platform/imaging/DecoderProcess.h"
#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QImageWriter>
#include <QRandomGenerator>

#include <cstdio>
#include <latch>
#include <memory>
#include <thread>

#include <jpeglib.h>
#include <libheif/heif.h>

using namespace platform;
using testPictures::tiffDirectory;
using testPictures::tiffHeader;
using namespace std::chrono_literals;

namespace {

/// Something of a photograph: soft shapes with grain.
QImage makePicture(QSize size) {
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
    return image;
}

[[noreturn]] void stop(const char* reason, const QString& path) {
    std::fprintf(stderr, "%s %s\n", reason, qPrintable(path));
    std::exit(EXIT_FAILURE);
}

enum class Scans { one, several };

QString writeJpeg(const TestHome& home, const char* name, const QImage& image, Scans scans = Scans::one) {
    QString path = home.path() + QLatin1Char('/') + QLatin1String(name);
    QImageWriter writer(path, "jpeg");
    writer.setQuality(90);
    writer.setProgressiveScanWrite(scans == Scans::several);
    if (!writer.write(image))
        stop("cannot write", path);
    return path;
}

/// A raw file as cameras write them, with nothing in it but the preview.
QString writeRaw(const TestHome& home, const QString& preview) {
    QFile jpeg(preview);
    QFile raw(home.path() + QStringLiteral("/raw.dng"));
    if (!jpeg.open(QIODevice::ReadOnly) || !raw.open(QIODevice::WriteOnly))
        stop("cannot copy", preview);
    const QByteArray bytes = jpeg.readAll();
    constexpr quint32 start = 8 + 2 + 3 * 12 + 4;
    raw.write(
        tiffHeader() +
        tiffDirectory(
            {{0x201, 4, start}, {0x202, 4, static_cast<quint32>(bytes.size())}, {0xc612, 1, 0x401, 4}}) +
        bytes);
    return raw.fileName();
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
    if (!std::holds_alternative<DecodedPicture>(decoder.decode(request, 20s)))
        stop("no thumbnail of", path);
}

double processorOf(const DecoderProcess& decoder) {
    clockid_t clock{};
    ::clock_getcpuclockid(decoder.processId(), &clock);
    return bench::clockMilliseconds(clock) + bench::processMilliseconds();
}

/// `entropy`: the JPEG that is decoded for the thumbnail, `path` itself or in it.
void measureOne(bench::Figures& figures, const char* what, const QString& path, const QString& entropy,
                int turns, std::optional<double> limit = std::nullopt) {
    DecoderProcess decoder(DecoderProcess::installedProgram());
    makeThumbnail(decoder, path);
    std::vector<double> ours;
    std::vector<double> floor;
    for (int turn = 0; turn < turns; ++turn) {
        const double before = processorOf(decoder);
        makeThumbnail(decoder, path);
        const double between = processorOf(decoder);
        decodeEntropy(entropy);
        ours.push_back(between - before);
        floor.push_back(processorOf(decoder) - between);
    }
    figures.ratio(what, ours, floor, limit);
}

// --- HEIC and AVIF

template <auto Release>
struct Releaser {
    template <typename Object>
    void operator()(Object* object) const {
        Release(object);
    }
};
using Context = std::unique_ptr<heif_context, Releaser<heif_context_free>>;
using Encoder = std::unique_ptr<heif_encoder, Releaser<heif_encoder_release>>;
using Handle = std::unique_ptr<heif_image_handle, Releaser<heif_image_handle_release>>;
using Pixels = std::unique_ptr<heif_image, Releaser<heif_image_release>>;

/// False where the library has no encoder for this.
bool writeHeif(const QString& path, const QImage& picture, heif_compression_format format) {
    const Context context(heif_context_alloc());
    heif_encoder* found = nullptr;
    if (heif_context_get_encoder_for_format(context.get(), format, &found).code != heif_error_Ok)
        return false;
    const Encoder encoder(found);
    heif_encoder_set_lossy_quality(found, 60);
    heif_encoder_set_parameter_string(found, "preset", "ultrafast");  // one encoder's name for it
    heif_encoder_set_parameter_integer(found, "speed", 9);            // and the other's
    const QImage rgb = picture.convertToFormat(QImage::Format_RGB888);
    heif_image* made = nullptr;
    heif_image_create(rgb.width(), rgb.height(), heif_colorspace_RGB, heif_chroma_interleaved_RGB, &made);
    const Pixels pixels(made);
    heif_image_add_plane(made, heif_channel_interleaved, rgb.width(), rgb.height(), 8);
    int stride = 0;
    std::uint8_t* plane = heif_image_get_plane(made, heif_channel_interleaved, &stride);
    for (int y = 0; y < rgb.height(); ++y)
        std::copy_n(rgb.constScanLine(y), std::size_t{3} * static_cast<std::size_t>(rgb.width()),
                    plane + std::ptrdiff_t{y} * stride);
    const auto isWritten = [&] {
        return heif_context_encode_image(context.get(), made, found, nullptr, nullptr).code ==
                   heif_error_Ok &&
               heif_context_write_to_file(context.get(), qPrintable(path)).code == heif_error_Ok;
    };
    if (!isWritten())
        stop("cannot write", path);
    return true;
}

void decodeInPlace(const QString& path) {
    const Context context(heif_context_alloc());
    heif_image_handle* handle = nullptr;
    heif_image* decoded = nullptr;
    heif_context_read_from_file(context.get(), qPrintable(path), nullptr);
    heif_context_get_primary_image_handle(context.get(), &handle);
    const Handle owner(handle);
    if (heif_decode_image(handle, &decoded, heif_colorspace_undefined, heif_chroma_undefined, nullptr).code !=
        heif_error_Ok)
        stop("cannot decode", path);
    heif_image_release(decoded);
}

void measureHeif(bench::Figures& figures, const TestHome& home, const char* what, const QImage& picture,
                 heif_compression_format format) {
    const QString path = home.path() + QStringLiteral("/picture.heif");
    if (!writeHeif(path, picture, format)) {
        std::fprintf(stderr, "not measured, as there is no encoder: %s\n", what);
        return;
    }
    DecoderProcess decoder(DecoderProcess::installedProgram());
    makeThumbnail(decoder, path);
    std::vector<double> ours;
    std::vector<double> floor;
    for (int round = 0; round < bench::rounds; ++round) {
        const double before = bench::wallMilliseconds();
        makeThumbnail(decoder, path);
        const double between = bench::wallMilliseconds();
        decodeInPlace(path);
        ours.push_back(between - before);
        floor.push_back(bench::wallMilliseconds() - between);
    }
    figures.ratio(what, ours, floor, std::nullopt);
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
    const QImage photograph = makePicture({6000, 4000});
    const QImage phone = photograph.copy(0, 0, 4000, 3000);
    const QString large = writeJpeg(home, "24.jpg", photograph);
    const QString middle = writeJpeg(home, "12.jpg", phone);
    const QString small = writeJpeg(home, "2.jpg", makePicture({1632, 1224}));
    const QString progressive = writeJpeg(home, "progressive.jpg", phone, Scans::several);
    bench::Figures figures;
    measureOne(figures, "thumbnail of a 24-megapixel JPEG", large, large, 9, 1.25);
    measureOne(figures, "thumbnail of a 2-megapixel JPEG", small, small, 25, 1.8);
    measureOne(figures, "thumbnail of a progressive 12-megapixel JPEG", progressive, progressive, 9);
    measureOne(figures, "thumbnail of a raw file by its 12-megapixel preview", writeRaw(home, middle), middle,
               9);
    measureHeif(figures, home, "thumbnail of a 12-megapixel HEIC, by the clock", phone,
                heif_compression_HEVC);
    measureHeif(figures, home, "thumbnail of a 12-megapixel AVIF, by the clock", phone, heif_compression_AV1);

    // Each decoder is started by the thread it works for, or it would end with another.
    DecoderProcess first(DecoderProcess::installedProgram());
    DecoderProcess second(DecoderProcess::installedProgram());
    const double ours = gainOfTwo([&](int thread) { makeThumbnail(thread == 0 ? first : second, small); });
    const double floor = gainOfTwo([&](int) { decodeEntropy(small); });
    figures.atLeast("two decoders against one", ours, floor, 1.8);
    return figures.exitStatus();
}
