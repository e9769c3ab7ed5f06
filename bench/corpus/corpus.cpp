// SPDX-License-Identifier: GPL-3.0-or-later
// Asks the decoders everything about every file of a folder, as the program would, and prints what came of
// it. Ends with 1 where the supervising side failed (a fault, something leaked, a file that the manifest
// names is missing), with 2 where no more is wrong than that a good file did not come out right. usage:
// corpus FOLDER
#include "corpus/Census.h"
#include "corpus/CorpusRun.h"
#include "corpus/CorpusTable.h"
#include "corpus/Expectation.h"
#include "platform/PathBytes.h"
#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QMimeDatabase>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int exitFault = 1;
constexpr int exitMismatch = 2;

struct Findings {
    std::vector<CorpusAnswer> answers;
    QStringList mismatches;
    QStringList judged;    ///< good files compared with what neither of the two usual programs made
    QStringList notShown;  ///< good files of formats that are not promised, and do not come out
    QStringList unknown;   ///< good files of which no program at hand makes a picture, this one included
    int compared = 0;
};

void print(const char* title, const QStringList& lines) {
    std::printf("\n%s: %lld\n", title, static_cast<long long>(lines.size()));
    for (const QString& line : lines)
        std::printf("  %s\n", qUtf8Printable(line));
}

void compare(const QString& path, const CorpusFile& file, Findings& findings) {
    if (!file.picture && !isShownFormat(path)) {
        findings.notShown.append(path);
        return;
    }
    const auto references = referencesFor(path);
    if (references.empty() && !file.picture) {
        findings.unknown.append(path);
        return;
    }
    ++findings.compared;
    if (const QString reason = judgedFor(path); !reason.isEmpty())
        findings.judged.append(path + QStringLiteral(": ") + reason);
    const QString wrong = mismatch(file, references);
    if (!wrong.isEmpty())
        findings.mismatches.append(path + QStringLiteral(": ") + wrong);
}

Findings findingsOf(const QString& program, const std::vector<QString>& paths, const Manifest& manifest) {
    Findings findings;
    CorpusRun run(program);
    for (const QString& path : paths) {
        const CorpusFile file = run.ask(path);
        findings.answers.insert(findings.answers.end(), file.answers.begin(), file.answers.end());
        if (manifest.isGood(path))
            compare(path, file, findings);
    }
    return findings;
}

/// What only the first use of anything brings along: libraries' descriptors and threads.
void warmUp(const QString& program, const QString& folder) {
    const QString path = QDir(folder).filePath(QStringLiteral("white.png"));
    QImage white(512, 512, QImage::Format_RGB32);
    white.fill(Qt::white);
    white.save(path);
    QMimeDatabase().mimeTypesForFileName(path);  // the store asks it, and it keeps a file open
    mismatch(CorpusRun(program).ask(path), referencesFor(path));
}

}  // namespace

int main(int argc, char** argv) {
    const TestHome home;
    const QCoreApplication application(argc, argv);
    const QString folder = QFileInfo(QCoreApplication::arguments().value(1)).absoluteFilePath();
    if (argc != 2 || !QFileInfo(folder).isDir()) {
        std::fputs("usage: corpus FOLDER\n", stderr);
        return EXIT_FAILURE;
    }
    const QString program = qEnvironmentVariable("TAVLIN_PREFIX", QStringLiteral(TAVLIN_BUILD_DIR)) +
                            QStringLiteral("/libexec/tavlin/tavlin-decoder");
    const auto paths = filesBelow(folder);
    const Manifest manifest = Manifest::read(folder);
    warmUp(program, home.path());
    const Census before = Census::atRest();
    const Findings findings = findingsOf(program, paths, manifest);
    const Census after = Census::atRest();

    std::printf("%zu files\n\n%s", paths.size(), qUtf8Printable(corpusTable(findings.answers)));
    print("good, but not right", findings.mismatches);
    print("good, judged by hand", findings.judged);
    print("good, of a format that is not shown", findings.notShown);
    print("good, but of no program's knowledge", findings.unknown);
    print("named in the manifest, but missing", manifest.missing());
    std::printf("\n%d good files compared\nbefore: %s\nafter:  %s\n", findings.compared,
                qUtf8Printable(before.description()), qUtf8Printable(after.description()));
    const bool isFaulty = std::ranges::any_of(
        findings.answers, [](const CorpusAnswer& answer) { return answer.ending == Ending::fault; });
    if (isFaulty || before != after || !manifest.missing().isEmpty())
        return exitFault;
    return findings.mismatches.isEmpty() ? EXIT_SUCCESS : exitMismatch;
}
