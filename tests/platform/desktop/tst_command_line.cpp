// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/CommandLine.h"

#include "platform/PathBytes.h"
#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QTest>

using namespace Qt::StringLiterals;

using platform::CommandLine;
using Request = CommandLine::Request;

class TestCommandLine : public QObject {
    Q_OBJECT

    static std::vector<char*> pointers(QList<QByteArray>& words) {
        std::vector<char*> result;
        for (QByteArray& word : words)
            result.push_back(word.data());
        return result;
    }

 private Q_SLOTS:
    void arguments_data() {
        QTest::addColumn<QList<QByteArray>>("words");
        QTest::addColumn<int>("request");
        QTest::addColumn<QByteArray>("path");
        const auto row = [](const char* name, const QList<QByteArray>& words, Request request,
                            const QByteArray& path = {}) {
            QTest::newRow(name) << words << static_cast<int>(request) << path;
        };
        row("none", {}, Request::run);
        row("absolute", {"/a/b"}, Request::run, "/a/b");
        row("slash at the end", {"/a/b/"}, Request::run, "/a/b");
        row("relative", {"b"}, Request::run, "/now/b");
        row("here", {"."}, Request::run, "/now");
        row("above", {"../x"}, Request::run, "/x");
        row("not UTF-8", {"/a/\xff\xfe"}, Request::run, "/a/\xff\xfe");
        row("file URI", {"file:///a%20b"}, Request::run, "/a b");
        row("URI of elsewhere", {"file://elsewhere/a"}, Request::misuse);
        row("begins with a dash", {"--", "-a"}, Request::run, "/now/-a");
        row("help", {"/a", "--help"}, Request::help, "/a");
        row("version", {"-v"}, Request::version);
        row("unknown option", {"--bogus"}, Request::misuse);
        row("two folders", {"/a", "/b"}, Request::misuse);
        row("empty", {""}, Request::misuse);
    }
    void arguments() {
        QFETCH(QList<QByteArray>, words);
        QFETCH(const int, request);
        QFETCH(const QByteArray, path);
        const auto argv = pointers(words);
        const CommandLine line = CommandLine::parse(argv, u"/now"_s);
        QCOMPARE(static_cast<int>(line.request), request);
        QCOMPARE(line.problem.isEmpty(), line.request != Request::misuse);
        QCOMPARE(platform::bytesFromPath(line.path), path);
    }
};

TAVLIN_TEST_MAIN(QCoreApplication, TestCommandLine)
#include "tst_command_line.moc"
