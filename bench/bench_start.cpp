// SPDX-License-Identifier: GPL-3.0-or-later
// From the start of the process to the end of the main window's first frame, beside a bare main window of the
// toolkit with a menu bar, a splitter and a tree. Both are started in turn, warm, in a home of their own, and
// end in the first frame. Then what each has of the memory when it has come to rest.
#include "app/MainWindowInterface.h"
#include "bench/Figures.h"
#include "testing/TestHome.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMainWindow>
#include <QMenuBar>
#include <QProcess>
#include <QSplitter>
#include <QTimer>
#include <QTreeView>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <utility>
#include <vector>

namespace {

constexpr int warmUps = 3;
constexpr int runs = 21;
constexpr auto restsAfter = std::chrono::milliseconds(1500);

bool isMeasuringMemory() {
    return qEnvironmentVariableIsSet("TAVLIN_BENCH_MEMORY");
}

/// Megabytes that are in memory of this process, those it shares with others included.
double residentMegabytes() {
    long pages = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1e6;
}

/// Ends the process when a window has been painted, before anything that waits for that; or, for its memory,
/// when it has come to rest.
class EndAfterFirstFrame : public QObject {
 public:
    explicit EndAfterFirstFrame(QWidget& window) : QObject(&window) { qApp->installEventFilter(this); }

 protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched == parent() && event->type() == QEvent::Paint && !std::exchange(_isPainted, true))
            QTimer::singleShot(isMeasuringMemory() ? restsAfter : std::chrono::milliseconds(0), this, [] {
                std::printf("%f\n", residentMegabytes());
                std::fflush(stdout);
                std::_Exit(EXIT_SUCCESS);
            });
        return false;
    }

 private:
    bool _isPainted = false;
};

int openBareWindow(int argc, char** argv) {
    const QApplication application(argc, argv);
    QMainWindow window;
    window.menuBar()->addMenu(QStringLiteral("File"));
    auto* splitter = new QSplitter(&window);
    splitter->addWidget(new QTreeView);
    splitter->addWidget(new QTreeView);
    window.setCentralWidget(splitter);
    window.resize(1180, 760);
    new EndAfterFirstFrame(window);
    window.show();
    return QApplication::exec();
}

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

Run run(const char* window) {
    qputenv("TAVLIN_BENCH_WINDOW", window);
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    QElapsedTimer timer;
    timer.start();
    process.start(QCoreApplication::applicationFilePath(), {});
    if (!process.waitForFinished() || process.exitCode() != 0) {
        std::fprintf(stderr, "the %s window did not open\n", window);
        std::exit(EXIT_FAILURE);
    }
    return {static_cast<double>(timer.nsecsElapsed()) / 1e6, process.readAllStandardOutput().toDouble()};
}

}  // namespace

int main(int argc, char** argv) {
    const QByteArray window = qgetenv("TAVLIN_BENCH_WINDOW");
    if (window == "bare")
        return openBareWindow(argc, argv);
    if (window == "tavlin")
        return openTavlin(argc, argv);

    const TestHome home;
    const QCoreApplication application(argc, argv);
    std::vector<double> bare;
    std::vector<double> tavlin;
    for (int i = 0; i < warmUps + runs; ++i) {
        const double bareTime = run("bare").milliseconds;
        const double tavlinTime = run("tavlin").milliseconds;
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
        bare.push_back(run("bare").megabytes);
        tavlin.push_back(run("tavlin").megabytes);
    }
    figures.ratio("memory after start, decoders apart, beside a bare window", tavlin, bare, 1.6, "MB");
    return figures.exitStatus();
}
