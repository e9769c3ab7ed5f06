// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PathBytes.h"
#include "platform/TemporaryFolder.h"
#include "support/Shell.h"
#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QTest>

#include <cstdlib>

class ShellTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void temporaryPathsAreFixedAndPrivate();
    void parameterFileKeepsEveryPath();
    void output_data();
    void output();
    void foldersOneLevelDeep();
    void scripts_data();
    void scripts();
    void textThatIsNotUtf8IsNone();
};

void ShellTest::temporaryPathsAreFixedAndPrivate() {
    const QString path = getNewTempFilePath(QStringLiteral("checkARDState"));
    QCOMPARE(path, platform::temporaryFolder() + QStringLiteral("tst_shell_checkARDState.tmp"));
    QCOMPARE(getNewTempFilePath(QStringLiteral("checkARDState")), path);
    QVERIFY(!QFile::exists(path));
    const auto permissions = QFile::permissions(platform::temporaryFolder());
    QVERIFY(!permissions.testAnyFlags(QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther |
                                      QFile::WriteOther));
}

void ShellTest::parameterFileKeepsEveryPath() {
    const QString content = QStringLiteral("/a \"q\" $x/ü€😀\n") + platform::pathFromBytes("/b\xff\n");
    const QString path = createTempFileWithContentString(content, QStringLiteral("paths"));
    QFile file(path);
    QVERIFY(file.open(QFile::ReadOnly));
    const QByteArray bytes = file.readAll();
    QString units(bytes.size() / 2, u' ');
    memcpy(units.data(), bytes.constData(), static_cast<std::size_t>(bytes.size()));
    QCOMPARE(units[0], QChar(QChar::ByteOrderMark));
    QCOMPARE(units.sliced(1), content);
    // A second one of the same name replaces the first, shorter as it is.
    createTempFileWithContentString(QString(), QStringLiteral("paths"));
    QCOMPARE(QFileInfo(path).size(), 2);
    QCOMPARE(deleteFileAtPath(path), 0);
    QVERIFY(!QFile::exists(path));
}

void ShellTest::output_data() {
    QTest::addColumn<QString>("command");
    QTest::addColumn<bool>("answers");
    QTest::addColumn<QStringList>("lines");
    const auto row = [](const char* name, const char16_t* command, const QStringList& lines) {
        QTest::newRow(name) << QString::fromUtf16(command) << true << lines;
    };
    row("two lines", u"printf 'a\\nb\\n'", {QStringLiteral("a"), QStringLiteral("b"), QString()});
    row("nothing", u"true", {QString()});
    row("no newline at the end", u"printf 'a\\nb'", {QStringLiteral("a"), QStringLiteral("b")});
    row("carriage return and line feed", u"printf 'a\\r\\nb\\n'",
        {QStringLiteral("a"), QString(), QStringLiteral("b"), QString()});
    row("form feed and next line", u"printf 'a\\014b\\302\\205c'",
        {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")});
    row("standard error too, and a failure", u"{ echo out; echo err >&2; false; }",
        {QStringLiteral("out"), QStringLiteral("err"), QString()});
    QTest::newRow("not ASCII: nothing runs") << QStringLiteral("echo ü") << false << QStringList();
    QTest::newRow("output that is no text") << QStringLiteral("printf '\\377'") << false << QStringList();
}

void ShellTest::output() {
    QFETCH(const QString, command);
    QFETCH(const bool, answers);
    QFETCH(const QStringList, lines);
    const auto result = executeScriptAndCollectOutput(command);
    QCOMPARE(result.has_value(), answers);
    QCOMPARE(result.value_or(QStringList()), lines);
    QVERIFY(!QFile::exists(getNewTempFilePath(QStringLiteral("checkARDState"))));
}

void ShellTest::foldersOneLevelDeep() {
    const QString folder = qEnvironmentVariable("HOME") + QStringLiteral("/with blank");
    QVERIFY(createFolder(folder));
    QVERIFY(QFileInfo(folder).isDir());
    // The redirection belongs to mkdir, which does not run then: there is nothing to read.
    QVERIFY(!createFolder(folder));
    const auto lines = createFolder(folder + QStringLiteral("/missing/deep"));
    QVERIFY(lines && lines->constFirst().contains(u"mkdir"));
    QVERIFY(!QFileInfo::exists(folder + QStringLiteral("/missing")));
}

void ShellTest::scripts_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("exitStatus");
    QTest::addColumn<QByteArray>("left");  // what it wrote into the file "left" of its own folder
    QTest::newRow("sh by its first line")
        << QStringLiteral("a.tool") << QByteArray("#!/bin/sh\npwd > left; echo $# >> left\n") << 0
        << QByteArray("%HERE%\n1\n");
    QTest::newRow("interpreter with an argument")
        << QStringLiteral("b") << QByteArray("#! /bin/sh -e\nfalse\necho no > left\n") << 1 << QByteArray();
    QTest::newRow("sh by its type") << QStringLiteral("c.sh")
                                    << QByteArray("printf %s \"$1\" > left; exit 7\n") << 7
                                    << QByteArray("%PARAMETER%");
    QTest::newRow("python by its type")
        << QStringLiteral("d.py") << QByteArray("import sys\nopen('left','w').write(sys.argv[1])\n") << 0
        << QByteArray("%PARAMETER%");
    QTest::newRow("blanks in the name")
        << QStringLiteral("e f.sh") << QByteArray("echo ran > left\n") << 0 << QByteArray("ran\n");
    QTest::newRow("nothing to run it by")
        << QStringLiteral("g.applescript") << QByteArray("tell\n") << 126 << QByteArray();
    QTest::newRow("not there") << QStringLiteral("missing.sh") << QByteArray() << 127 << QByteArray();
}

void ShellTest::scripts() {
    QFETCH(const QString, name);
    QFETCH(const QByteArray, text);
    QFETCH(const int, exitStatus);
    QFETCH(QByteArray, left);
    QTemporaryDir folder;
    const QString script = folder.filePath(name);
    if (!text.isEmpty()) {
        QFile file(script);
        QVERIFY(file.open(QFile::WriteOnly));
        file.write(text);
    }
    const QString parameter = folder.filePath(QStringLiteral("para meter"));
    const int status = runScriptWithParameter(script, parameter);
    QVERIFY(WIFEXITED(status));
    QCOMPARE(WEXITSTATUS(status), exitStatus);
    QFile written(folder.filePath(QStringLiteral("left")));
    const QByteArray content = written.open(QFile::ReadOnly) ? written.readAll() : QByteArray();
    left.replace("%HERE%", QFile::encodeName(QFileInfo(folder.path()).canonicalFilePath()));
    left.replace("%PARAMETER%", QFile::encodeName(parameter));
    QCOMPARE(content, left);
}

void ShellTest::textThatIsNotUtf8IsNone() {
    QVERIFY(!fileContentsAsString(QStringLiteral("/nowhere")));
    QVERIFY(!fileContentsAsString(QStringLiteral("/dev/zero")));
}

int main(int argc, char** argv) {
    const TestHome home;
    // The program's own runner, as the program itself makes it found.
    qputenv("PATH", qgetenv("PATH") + ":" TAVLIN_BUILD_DIR "/libexec/tavlin");
    QCoreApplication application(argc, argv);
    ShellTest test;
    const int status = QTest::qExec(&test, argc, argv);
    platform::removeTemporaryFolder();
    return status;
}

#include "tst_shell.moc"
