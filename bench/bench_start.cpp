// SPDX-License-Identifier: GPL-3.0-or-later
// From the start of the process to the end of the main window's first frame, beside a bare main window of the
// toolkit with a menu bar, a splitter and a tree. Both are started in turn, warm, in a home of their own, and
// end in the first frame. The bound is twice the bare window's median.
#include "app/MainWindowInterface.h"
#include "testing/TestHome.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMainWindow>
#include <QMenuBar>
#include <QProcess>
#include <QSplitter>
#include <QTimer>
#include <QTreeView>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr int warmUps = 3;
constexpr int runs = 21;
constexpr double bound = 2.0;

/// Ends the process when a window has been painted, before anything that waits for that.
class EndAfterFirstFrame : public QObject {
 public:
    explicit EndAfterFirstFrame(QWidget& window) : QObject(&window) { qApp->installEventFilter(this); }

 protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched == parent() && event->type() == QEvent::Paint)
            QTimer::singleShot(0, this, [] { std::_Exit(EXIT_SUCCESS); });
        return false;
    }
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

double millisecondsOf(const char* window) {
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
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
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
        const double bareTime = millisecondsOf("bare");
        const double tavlinTime = millisecondsOf("tavlin");
        if (i >= warmUps) {
            bare.push_back(bareTime);
            tavlin.push_back(tavlinTime);
        }
    }
    const double ratio = median(tavlin) / median(bare);
    std::printf("bare window %.1f ms, main window %.1f ms, ratio %.2f (bound %.1f)\n", median(bare),
                median(tavlin), ratio, bound);
    return ratio <= bound ? EXIT_SUCCESS : EXIT_FAILURE;
}
