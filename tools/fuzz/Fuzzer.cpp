// SPDX-License-Identifier: GPL-3.0-or-later
// The fuzzer's side of the targets: TAVLIN_FUZZ_TARGET names the one to run, and its seeds are written to the
// folder TAVLIN_FUZZ_SEEDS; without a name, those of all are listed.
#include "fuzz/Target.h"
#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdint>

namespace {

const fuzzing::Target* chosen = nullptr;

void writeSeeds(const QString& folder) {
    int number = 0;
    for (const QByteArray& seed : chosen->seeds()) {
        QFile file(QStringLiteral("%1/seed-%2").arg(folder).arg(++number));
        if (!file.open(QIODevice::WriteOnly) || file.write(seed) != seed.size())
            std::fprintf(stderr, "a seed could not be written\n");
    }
}

/// The log is not what is looked at here.
void keepQuiet(QtMsgType, const QMessageLogContext&, const QString&) {
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static const TestHome home;
    static const QCoreApplication application(*argc, *argv);
    qInstallMessageHandler(keepQuiet);
    chosen = fuzzing::Target::named(qgetenv("TAVLIN_FUZZ_TARGET").toStdString());
    if (chosen == nullptr) {
        for (const fuzzing::Target* target : fuzzing::Target::all())
            std::puts(target->name);
        std::exit(EXIT_SUCCESS);
    }
    writeSeeds(qEnvironmentVariable("TAVLIN_FUZZ_SEEDS"));
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // A copy of its own, so that a step beyond its end is seen.
    chosen->examine(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    return 0;
}
