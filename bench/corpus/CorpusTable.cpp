// SPDX-License-Identifier: GPL-3.0-or-later
#include "corpus/CorpusTable.h"

#include "platform/PathBytes.h"

#include <algorithm>

namespace {

constexpr int nameWidth = 12;
constexpr int countWidth = 13;
constexpr std::size_t slowestShown = 10;

QString line(const CorpusAnswer& answer) {
    return QStringLiteral("  %1 ms  %2  %3  %4%5\n")
        .arg(answer.time.count(), 6)
        .arg(QLatin1String(nameOf(answer.question)), -nameWidth)
        .arg(QLatin1String(nameOf(answer.ending)), -nameWidth)
        .arg(platform::displayablePath(answer.path),
             answer.words.isEmpty() ? QString() : QStringLiteral(": ") + answer.words);
}

QString counts(const std::vector<CorpusAnswer>& answers) {
    QString text = QString(nameWidth, u' ');
    for (const Ending ending : kEndings)
        text += QStringLiteral("%1").arg(QLatin1String(nameOf(ending)), countWidth);
    text += u'\n';
    for (const Question question : kQuestions) {
        text += QStringLiteral("%1").arg(QLatin1String(nameOf(question)), -nameWidth);
        for (const Ending ending : kEndings)
            text += QStringLiteral("%1").arg(std::ranges::count_if(answers,
                                                                   [&](const CorpusAnswer& answer) {
                                                                       return answer.question == question &&
                                                                              answer.ending == ending;
                                                                   }),
                                             countWidth);
        text += u'\n';
    }
    return text;
}

}  // namespace

QString corpusTable(const std::vector<CorpusAnswer>& answers) {
    QString text = counts(answers);
    for (const Ending ending : {Ending::crash, Ending::deadline, Ending::memory, Ending::fault}) {
        text += QStringLiteral("\n%1:\n").arg(QLatin1String(nameOf(ending)));
        for (const CorpusAnswer& answer : answers)
            if (answer.ending == ending)
                text += line(answer);
    }
    std::vector<CorpusAnswer> slowest = answers;
    std::ranges::stable_sort(slowest, std::ranges::greater(), &CorpusAnswer::time);
    slowest.resize(std::min(slowest.size(), slowestShown));
    text += QStringLiteral("\nslowest:\n");
    for (const CorpusAnswer& answer : slowest)
        text += line(answer);
    return text;
}
