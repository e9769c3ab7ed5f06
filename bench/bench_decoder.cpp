// SPDX-License-Identifier: GPL-3.0-or-later
// What it costs to decode in a confined process: each thumbnail is made in place and through a decoder, in
// turn, and the two are compared one by one; the same for one that is in the store. And how long the next
// picture takes after its decoder was killed.
//
// usage: bench_decoder [FILE...]; with files it says instead what a decoder makes of each, and of its
// metadata.
#include "decoder/Decoding.h"
#include "Figures.h"
#include "platform/FileAccess.h"
#include "platform/imaging/DecoderProcess.h"
#include "testing/TestHome.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QImage>
#include <QTemporaryFile>

#include <array>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using namespace platform;
using namespace std::chrono_literals;

namespace {

constexpr double medianBound = 0.5;        // milliseconds, of what a process costs a thumbnail
constexpr double percentile95Bound = 1.5;  // milliseconds
constexpr double replacedBound = 150;      // milliseconds, 95th percentile

bool makePicture(QTemporaryFile& file, QSize size, const char* format) {
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgb(x * y % 256, int(127 + 100 * std::sin(x * 0.05)), (x ^ y) & 255));
    return file.open() && image.save(&file, format, 90) && file.flush();
}

DecodeResult viaProcess(DecoderProcess& process, int file, DecodeRequest::Kind kind) {
    DecodeRequest request;
    request.kind = kind;
    request.descriptor = file;
    return process.decode(request, 20s);
}

/// One line: what the answer is, then its size or the number of its properties or the reason.
void describe(const DecodeResult& result) {
    if (const auto* picture = std::get_if<DecodedPicture>(&result))
        std::printf("\tpicture %dx%d of %dx%d", picture->image.width(), picture->image.height(),
                    picture->fullSize.width(), picture->fullSize.height());
    else if (const auto* properties = std::get_if<DecodedProperties>(&result))
        std::printf("\t%zu properties", properties->properties.size());
    else
        std::printf("\terror %d %s", static_cast<int>(std::get<DecodeFailure>(result).error),
                    qUtf8Printable(std::get<DecodeFailure>(result).message));
}

void stop(const DecodeResult& result) {
    describe(result);
    std::exit(EXIT_FAILURE);
}

/// What a process costs, request by request, with the limits of thumbnails.
void measureOverhead(bench::Figures& figures, DecoderProcess& process, int file, const std::string& what,
                     DecodeRequest::Kind kind, decoder::RequestKind protocolKind) {
    constexpr int rounds = 300;
    decoder::Request request;
    request.kind = protocolKind;
    request.pixelSize = 256;
    std::vector<double> overheads;
    for (int i = 0; i < rounds; ++i) {
        const double start = bench::wallMilliseconds();
        const bool inPlace = std::holds_alternative<decoder::Picture>(decoder::decode(request, file));
        const double between = bench::wallMilliseconds();
        const auto result = viaProcess(process, file, kind);
        const double end = bench::wallMilliseconds();
        if (!inPlace || !std::holds_alternative<DecodedPicture>(result))
            stop(result);
        if (i > 0)  // the first starts the process
            overheads.push_back((end - between) - (between - start));
    }
    figures.atMost(what + ": the process costs, median", bench::median(overheads), medianBound, "ms");
    figures.atMost(what + ": the process costs, 95th percentile", bench::quantile(overheads, 0.95),
                   percentile95Bound, "ms");
}

/// What the machine takes for it at least: a process that answers at once, asked as rarely as a decoder is.
void measureRoundTrip() {
    constexpr int rounds = 300;
    constexpr double pause = 2;  // milliseconds at work
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        std::exit(EXIT_FAILURE);
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(ends[0]);
        for (char byte = 0; ::recv(ends[1], &byte, 1, 0) == 1;)
            ::send(ends[1], &byte, 1, MSG_NOSIGNAL);
        ::_exit(EXIT_SUCCESS);
    }
    ::close(ends[1]);
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        const double until = bench::wallMilliseconds() + pause;
        while (bench::wallMilliseconds() < until) {
        }
        const double start = bench::wallMilliseconds();
        char byte = 0;
        if (::send(ends[0], &byte, 1, MSG_NOSIGNAL) != 1 || ::recv(ends[0], &byte, 1, 0) != 1)
            std::exit(EXIT_FAILURE);
        times.push_back(bench::wallMilliseconds() - start);
    }
    ::close(ends[0]);
    ::waitpid(child, nullptr, 0);
    bench::Figures::note("one byte to another process and back, median", bench::median(times), "ms");
    bench::Figures::note("one byte to another process and back, 95th percentile",
                         bench::quantile(times, 0.95), "ms");
}

void measureReplacing(bench::Figures& figures, DecoderProcess& process, int file) {
    constexpr int rounds = 60;
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        ::kill(process.processId(), SIGKILL);
        const double start = bench::wallMilliseconds();
        const auto result = viaProcess(process, file, DecodeRequest::Kind::thumbnail);
        times.push_back(bench::wallMilliseconds() - start);
        if (!std::holds_alternative<DecodedPicture>(result))
            stop(result);
    }
    figures.atMost("a decoder killed, replaced and the next thumbnail made, 95th percentile",
                   bench::quantile(times, 0.95), replacedBound, "ms");
}

void describeFiles(const QStringList& files) {
    DecoderProcess process(DecoderProcess::installedProgram());
    for (const QString& path : files) {
        const ScopedFileDescriptor file = openRegularFile(path);
        std::printf("%s", qUtf8Printable(path));
        for (const auto kind : {DecodeRequest::Kind::thumbnail, DecodeRequest::Kind::properties})
            describe(viaProcess(process, file.get(), kind));
        std::puts("");
    }
}

}  // namespace

int main(int argc, char** argv) {
    const TestHome home;
    const QCoreApplication application(argc, argv);
    DecoderProcess::setInstalledProgram(
        qEnvironmentVariable("TAVLIN_PREFIX", QStringLiteral(TAVLIN_BUILD_DIR)) +
        QStringLiteral("/libexec/tavlin/tavlin-decoder"));
    if (argc > 1) {
        describeFiles(QCoreApplication::arguments().mid(1));
        return 0;
    }
    QTemporaryFile photograph;
    QTemporaryFile small;  // is decoded quickly, so that the process's share stands out from the noise
    QTemporaryFile stored;
    if (!makePicture(photograph, {1632, 1224}, "jpeg") || !makePicture(small, {400, 300}, "jpeg") ||
        !makePicture(stored, {256, 192}, "png"))
        return EXIT_FAILURE;
    decoder::prepare(decoder::Role::common);
    DecoderProcess process(DecoderProcess::installedProgram());
    bench::Figures figures;
    measureOverhead(figures, process, small.handle(), "a thumbnail", DecodeRequest::Kind::thumbnail,
                    decoder::RequestKind::thumbnail);
    measureOverhead(figures, process, stored.handle(), "a thumbnail in the store",
                    DecodeRequest::Kind::storedThumbnail, decoder::RequestKind::storedThumbnail);
    measureRoundTrip();
    measureReplacing(figures, process, photograph.handle());
    return figures.exitStatus();
}
