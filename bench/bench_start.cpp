// SPDX-License-Identifier: GPL-3.0-or-later
// From the start of the process to the end of the main window's first frame, beside a bare main window of the
// toolkit with a menu bar, a splitter and two trees, which is a program of its own (bare_window.cpp). Both
// are started in turn, warm, in a home of their own, and end after the first frame. Then what each has of the
// memory when it has come to rest.
#include "app/MainWindowInterface.h"
#include "bench/EndAfterFirstFrame.h"
#include "bench/Figures.h"
#include "testing/TestHome.h"

#include <QProcess>

#include <vector>

namespace {

constexpr int warmUps = 3;
constexpr int runs = 41;

int openTavlin(int argc, char** argv) {
    return platform::Application::run(argc, argv, [] {
        auto interface = MainWindowInterface::load();
        new EndAfterFirstFrame(static_cast<MainWindowInterface&>(*interface).mainWindow());
        return interface;
    });
}

struct Run {
    double milliseconds = 0;
    double megabytes = 0;
};

Run run(const QString& program) {
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    const double start = bench::wallMilliseconds();
    process.start(program, {});
    if (!process.waitForFinished() || process.exitCode() != 0) {
        std::fprintf(stderr, "%s opened no window\n", qPrintable(program));
        std::exit(EXIT_FAILURE);
    }
    const QList<QByteArray> lines = process.readAllStandardOutput().split('\n');
    return {lines.value(0).toDouble() - start, lines.value(1).toDouble()};
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
    std::vector<double> bare;
    std::vector<double> tavlin;
    for (int i = 0; i < warmUps + runs; ++i) {
        const double bareTime = run(bareProgram).milliseconds;
        const double tavlinTime = run(program).milliseconds;
        if (i >= warmUps) {
            bare.push_back(bareTime);
            tavlin.push_back(tavlinTime);
        }
    }
    bench::Figures figures;
    figures.ratio("start to window shown, beside a bare window", tavlin, bare, 1.5);

    qputenv("TAVLIN_BENCH_MEMORY", "1");
    bare.clear();
    tavlin.clear();
    for (int i = 0; i < bench::rounds; ++i) {
        bare.push_back(run(bareProgram).megabytes);
        tavlin.push_back(run(program).megabytes);
    }
    figures.ratio("memory after start, decoders apart, beside a bare window", tavlin, bare, 1.6, "MB");
    return figures.exitStatus();
}
