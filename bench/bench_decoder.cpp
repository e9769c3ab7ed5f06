// SPDX-License-Identifier: GPL-3.0-or-later
// What it costs to decode in a confined process: each picture is decoded in place and through a decoder, in
// turn, and the two are compared one by one. And how long the next picture takes after its decoder was
// killed. usage: bench_decoder [FILE...]; with files it says instead what a decoder makes of each, and of its
// metadata.
#include "decoder/Decoding.h"
#include "platform/FileAccess.h"
#include "platform/imaging/DecoderProcess.h"
#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QTemporaryFile>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <vector>

using namespace platform;
using namespace std::chrono_literals;

namespace {

constexpr double medianBound = 0.5;        // milliseconds, of what a process costs a thumbnail
constexpr double percentile95Bound = 1.5;  // milliseconds
constexpr double replacedBound = 150;      // milliseconds, 95th percentile

double milliseconds(const QElapsedTimer& time) {
    return static_cast<double>(time.nsecsElapsed()) / 1e6;
}

double percentile(std::vector<double> values, int percent) {
    std::sort(values.begin(), values.end());
    return values[(values.size() - 1) * static_cast<std::size_t>(percent) / 100];
}

bool makePicture(QTemporaryFile& file) {
    QImage image(1632, 1224, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgb(x * y % 256, int(127 + 100 * std::sin(x * 0.05)), (x ^ y) & 255));
    return file.open() && image.save(&file, "jpeg", 90) && file.flush();
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

bool measureOverhead(DecoderProcess& process, int file) {
    constexpr int rounds = 300;
    decoder::prepare(decoder::Role::common);
    decoder::Request request;
    request.pixelSize = 256;
    std::vector<double> overheads;
    QElapsedTimer time;
    for (int i = 0; i < rounds; ++i) {
        time.start();
        const bool inPlace = std::holds_alternative<decoder::Picture>(decoder::decode(request, file));
        const double own = milliseconds(time);
        time.start();
        const auto result = viaProcess(process, file, DecodeRequest::Kind::thumbnail);
        const double other = milliseconds(time);
        if (!inPlace || !std::holds_alternative<DecodedPicture>(result))
            return false;
        if (i > 0)  // the first starts the process
            overheads.push_back(other - own);
    }
    const double median = percentile(overheads, 50);
    const double high = percentile(overheads, 95);
    std::printf("a process costs a thumbnail %.2f ms (median), %.2f ms (95th percentile)\n", median, high);
    return median <= medianBound && high <= percentile95Bound;
}

bool measureReplacing(DecoderProcess& process, int file) {
    constexpr int rounds = 60;
    std::vector<double> times;
    QElapsedTimer time;
    for (int i = 0; i < rounds; ++i) {
        ::kill(process.processId(), SIGKILL);
        time.start();
        const auto result = viaProcess(process, file, DecodeRequest::Kind::thumbnail);
        if (!std::holds_alternative<DecodedPicture>(result)) {
            describe(result);
            return false;
        }
        times.push_back(milliseconds(time));
    }
    const double high = percentile(times, 95);
    std::printf(
        "a killed decoder is replaced and has decoded after %.0f ms (median), %.0f ms (95th percentile)\n",
        percentile(times, 50), high);
    return high <= replacedBound;
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
    QTemporaryFile file;
    DecoderProcess process(DecoderProcess::installedProgram());
    const bool isGood = makePicture(file) && measureOverhead(process, file.handle()) &&
                        measureReplacing(process, file.handle());
    return isGood ? 0 : 1;
}
