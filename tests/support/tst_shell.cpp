// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DescriptorLimit.h"
#include "platform/PathBytes.h"
#include "platform/ScopedFileDescriptor.h"
#include "platform/TemporaryFolder.h"
#include "support/Shell.h"
#include "testing/TestFiles.h"
#include "testing/TestMain.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QTemporaryFile>

#include <cstdlib>
#include <vector>

using namespace Qt::StringLiterals;

class ShellTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    // The program's own runner, as the program itself makes it found.
    void initTestCase() { qputenv("PATH", qgetenv("PATH") + ":" TAVLIN_BUILD_DIR "/libexec/tavlin"); }
    void cleanupTestCase() { platform::removeTemporaryFolder(); }

    void temporaryPathsAreFixedAndPrivate() {
        const QString path = getNewTempFilePath(u"checkARDState"_s);
        QCOMPARE(path, platform::temporaryFolder() + u"tst_shell_checkARDState.tmp"_s);
        QCOMPARE(getNewTempFilePath(u"checkARDState"_s), path);
        QVERIFY(!QFile::exists(path));
        const auto permissions = QFile::permissions(platform::temporaryFolder());
        QVERIFY(!permissions.testAnyFlags(QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther |
                                          QFile::WriteOther));

        platform::removeTemporaryFolder();
        const QByteArray usual = qgetenv("TMPDIR");
        qputenv("TMPDIR", "");
        QVERIFY(platform::temporaryFolder().startsWith(u"/tmp/"_s));
        platform::removeTemporaryFolder();
        qputenv("TMPDIR", usual);
    }

    void parameterFileKeepsEveryPath() {
        const QString content = u"/a \"q\" $x/ü€😀\n"_s + platform::pathFromBytes("/b\xff\n");
        const QString path = createTempFileWithContentString(content, u"paths"_s);
        QFile file(path);
        QVERIFY(file.open(QFile::ReadOnly));
        const QByteArray bytes = file.readAll();
        QString units(bytes.size() / 2, u' ');
        memcpy(units.data(), bytes.constData(), static_cast<std::size_t>(bytes.size()));
        QCOMPARE(units[0], QChar(QChar::ByteOrderMark));
        QCOMPARE(units.sliced(1), content);
        // A second one of the same name replaces the first, shorter as it is.
        createTempFileWithContentString(QString(), u"paths"_s);
        QCOMPARE(QFileInfo(path).size(), 2);
        QCOMPARE(deleteFileAtPath(path), 0);
        QVERIFY(!QFile::exists(path));
    }

    void output_data() {
        const Table<QString, bool, QStringList> columns("command", "answers", "lines");
        const auto row = [](const char* name, const char16_t* command, const QStringList& lines) {
            QTest::newRow(name) << QString::fromUtf16(command) << true << lines;
        };
        row("two lines", u"printf 'a\\nb\\n'", {u"a"_s, u"b"_s, QString()});
        row("nothing", u"true", {QString()});
        row("no newline at the end", u"printf 'a\\nb'", {u"a"_s, u"b"_s});
        row("carriage return and line feed", u"printf 'a\\r\\nb\\n'", {u"a"_s, QString(), u"b"_s, QString()});
        row("form feed and next line", u"printf 'a\\014b\\302\\205c'", {u"a"_s, u"b"_s, u"c"_s});
        row("standard error too, and a failure", u"{ echo out; echo err >&2; false; }",
            {u"out"_s, u"err"_s, QString()});
        QTest::newRow("not ASCII: nothing runs") << u"echo ü"_s << false << QStringList();
        QTest::newRow("output that is no text") << u"printf '\\377'"_s << false << QStringList();
    }
    void output() {
        QFETCH(const QString, command);
        QFETCH(const bool, answers);
        QFETCH(const QStringList, lines);
        const auto result = executeScriptAndCollectOutput(command);
        QCOMPARE(result.has_value(), answers);
        QCOMPARE(result.value_or(QStringList()), lines);
        QVERIFY(!QFile::exists(getNewTempFilePath(u"checkARDState"_s)));
    }

    void foldersOneLevelDeep() {
        const QString folder = qEnvironmentVariable("HOME") + u"/with blank"_s;
        QVERIFY(createFolder(folder));
        QVERIFY(QFileInfo(folder).isDir());
        // The redirection belongs to mkdir, which does not run then: there is nothing to read.
        QVERIFY(!createFolder(folder));
        const auto lines = createFolder(folder + u"/missing/deep"_s);
        QVERIFY(lines && lines->constFirst().contains(u"mkdir"));
        QVERIFY(!QFileInfo::exists(folder + u"/missing"_s));
    }

    /// More than the program was started with is its own; a command has what it would have from a shell, and
    /// other programs too, unless the program could make none any more then.
    void childrenKeepTheirDescriptorLimit() {
        const auto limitNow = [] {
            rlimit limits{};
            ::getrlimit(RLIMIT_NOFILE, &limits);
            return limits.rlim_cur;
        };
        const auto limitOfAChild = [&] {
            const platform::InheritedDescriptorLimit child;
            return limitNow();
        };
        rlimit before{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &before), 0);
        const rlimit started{256, before.rlim_max};
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &started), 0);
        platform::raiseDescriptorLimit();
        const auto lines = executeScriptAndCollectOutput(u"ulimit -Sn"_s);
        const rlim_t raised = limitNow();
        const rlim_t ofAChild = limitOfAChild();
        std::vector<platform::ScopedFileDescriptor> open;
        while (open.size() < started.rlim_cur)
            open.emplace_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        const rlim_t ofALateChild = limitOfAChild();
        open.clear();
        ::setrlimit(RLIMIT_NOFILE, &before);
        QCOMPARE(raised, before.rlim_max);
        QCOMPARE(ofAChild, started.rlim_cur);
        QCOMPARE(ofALateChild, before.rlim_max);
        QVERIFY(lines && !lines->isEmpty());
        QCOMPARE(lines->constFirst(), QString::number(started.rlim_cur));
    }

    void scripts_data() {
        // left: what it wrote into the file "left" of its own folder
        // part: of what comes on standard error
        const Table<QString, QByteArray, int, QByteArray, QString> row("name", "text", "exitStatus", "left",
                                                                       "part");
        row("sh by its first line", "a.tool", "#!/bin/sh\npwd > left; echo $# >> left\n", 0, "%HERE%\n1\n",
            "");
        row("interpreter with an argument", "b", "#! /bin/sh -e\nfalse\necho no > left\n", 1, {}, "");
        row("sh by its type", "c.sh", "printf %s \"$1\" > left; echo why >&2; echo of it >&2; exit 7\n", 7,
            "%PARAMETER%", "why\nof it\n");
        row("python by its type", "d.py", "import sys\nopen('left','w').write(sys.argv[1])\n", 0,
            "%PARAMETER%", "");
        row("blanks in the name", "e f.sh", "echo ran > left\n", 0, "ran\n", "");
        row("nothing to run it by", "g.applescript", "tell\n", 126, {}, "g.applescript: this system cannot");
        row("not there", "missing.sh", {}, 127, {}, "missing.sh: No such file");
    }
    void scripts() {
        QFETCH(const QString, name);
        QFETCH(const QByteArray, text);
        QFETCH(const int, exitStatus);
        QFETCH(QByteArray, left);
        QFETCH(const QString, part);
        QTemporaryDir folder;
        const QString script = folder.filePath(name);
        if (!text.isEmpty()) {
            QFile file(script);
            QVERIFY(file.open(QFile::WriteOnly));
            file.write(text);
        }
        const QString parameter = folder.filePath(u"para meter"_s);
        QTemporaryFile ownErrors;
        QVERIFY(ownErrors.open());
        const platform::ScopedFileDescriptor before(::dup(STDERR_FILENO));
        ::dup2(ownErrors.handle(), STDERR_FILENO);
        QString errors;
        const int status = runScriptWithParameter(script, parameter, &errors);
        ::dup2(before.get(), STDERR_FILENO);
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), exitStatus);
        QVERIFY2(part.isEmpty() ? errors.isEmpty() : errors.contains(part), qPrintable(errors));
        QCOMPARE(readFile(ownErrors.fileName()), errors.toUtf8());
        QFile written(folder.filePath(u"left"_s));
        const QByteArray content = written.open(QFile::ReadOnly) ? written.readAll() : QByteArray();
        left.replace("%HERE%", QFile::encodeName(QFileInfo(folder.path()).canonicalFilePath()));
        left.replace("%PARAMETER%", QFile::encodeName(parameter));
        QCOMPARE(content, left);
    }
};

TAVLIN_TEST_MAIN(QCoreApplication, ShellTest)
#include "tst_shell.moc"
