// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PathBytes.h"
#include "testing/TestHome.h"

#include <QTest>

using namespace platform;

class PathBytesTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void losesNoByte_data();
    void losesNoByte();
    void losesNoPairOfBytes();
    void takesPathsApart_data();
    void takesPathsApart();
    void joinsWithOneSlash();
    void travelsThroughFileUris_data();
    void travelsThroughFileUris();
    void refusesForeignUris();
};

void PathBytesTest::losesNoByte_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("shown");
    const auto row = [](const char* name, const QByteArray& bytes, const QString& path,
                        const QString& shown) {
        QTest::newRow(name) << bytes << path << shown;
    };
    const auto text = [](std::u16string_view units) {
        return QString::fromUtf16(units.data(), static_cast<qsizetype>(units.size()));
    };
    const char16_t first = 0xDC00;
    const auto escaped = [&](int byte) {
        return QString(QChar(static_cast<char16_t>(first + byte)));
    };
    row("empty", "", {}, {});
    row("UTF-8", "/\xc3\xa4\xe2\x82\xac", text(u"/ä€"), text(u"/ä€"));
    row("beyond 16 bits, like an escape", "\xf0\x9f\x92\xaf", text(u"\U0001F4AF"), text(u"\U0001F4AF"));
    row("Latin-1", "h\xe4r", u'h' + escaped(0xE4) + u'r', text(u"h\uFFFDr"));
    row("only bad bytes", "\xff\xfe", escaped(0xFF) + escaped(0xFE), text(u"\uFFFD\uFFFD"));
    row("after a pair", "\xf0\x9f\x92\xaf\xaf", text(u"\U0001F4AF") + escaped(0xAF),
        text(u"\U0001F4AF\uFFFD"));
    row("overlong slash", "\xc0\xaf", escaped(0xC0) + escaped(0xAF), text(u"\uFFFD\uFFFD"));
    row("encoded surrogate", "\xed\xb3\xa4", escaped(0xED) + escaped(0xB3) + escaped(0xA4),
        text(u"\uFFFD\uFFFD\uFFFD"));
    row("cut short", "a\xe2\x82", u'a' + escaped(0xE2) + escaped(0x82), text(u"a\uFFFD\uFFFD"));
    row("control characters", "a\nb\x7f", text(u"a\nb\x7f"), text(u"a b "));
}

void PathBytesTest::losesNoByte() {
    QFETCH(QByteArray, bytes);
    QTEST(pathFromBytes(bytes), "path");
    QCOMPARE(bytesFromPath(pathFromBytes(bytes)), bytes);
    QTEST(displayablePath(pathFromBytes(bytes)), "shown");
}

/// Every pair of bytes, alone and at the end and the start of longer sequences.
void PathBytesTest::losesNoPairOfBytes() {
    for (int pair = 0; pair < 0x10000; ++pair) {
        const QByteArray two{std::array{static_cast<char>(pair >> 8), static_cast<char>(pair)}.data(), 2};
        for (const QByteArray& bytes : {two, "\xf0\x9f\x92\xaf" + two, two + "\x9f\x92\xaf"})
            if (bytesFromPath(pathFromBytes(bytes)) != bytes)
                QFAIL(bytes.toHex().constData());
    }
}

void PathBytesTest::takesPathsApart_data() {
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("name");
    const auto row = [](const char* path, const char* folder, const char* name) {
        QTest::newRow(path) << QString::fromLatin1(folder) << QString::fromLatin1(name);
    };
    row("/a/b", "/a", "b");
    row("/a/b/", "/a", "b");
    row("/a//b", "/a", "b");
    row("/a", "/", "a");
    row("/", "/", "/");
    row("//", "/", "/");
    row("a/b", "a", "b");
    row("a", "", "a");
    row("", "", "");
}

void PathBytesTest::takesPathsApart() {
    const QString path = QString::fromLatin1(QTest::currentDataTag());
    QTEST(pathByDeletingLastComponent(path), "folder");
    QTEST(lastPathComponent(path), "name");
}

void PathBytesTest::joinsWithOneSlash() {
    QCOMPARE(pathByAppending(QStringLiteral("/a"), QStringLiteral("b")), QStringLiteral("/a/b"));
    QCOMPARE(pathByAppending(QStringLiteral("/"), QStringLiteral("b")), QStringLiteral("/b"));
}

void PathBytesTest::travelsThroughFileUris_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("uri");
    QTest::newRow("plain") << QByteArray("/a/b.jpg") << QByteArray("file:///a/b.jpg");
    QTest::newRow("escaped as others do")
        << QByteArray("/a b%#?[x];ä~!'") << QByteArray("file:///a%20b%25%23%3F%5Bx%5D%3B%C3%A4~!'");
    QTest::newRow("Latin-1") << QByteArray("/h\xe4r") << QByteArray("file:///h%E4r");
}

void PathBytesTest::travelsThroughFileUris() {
    QFETCH(QByteArray, bytes);
    QTEST(fileUriFromPath(pathFromBytes(bytes)), "uri");
    QCOMPARE(bytesFromPath(pathFromFileUri(fileUriFromPath(pathFromBytes(bytes)))), bytes);
}

void PathBytesTest::refusesForeignUris() {
    for (const char* uri :
         {"http://example.org/a", "file://example.org/a", "file:a", "/a", "file:///a%00b", ""})
        QVERIFY2(pathFromFileUri(uri).isNull(), uri);
    QVERIFY(fileUriFromPath(QStringLiteral("a/b")).isEmpty());
}

TAVLIN_TEST_MAIN(QCoreApplication, PathBytesTest)
#include "tst_path_bytes.moc"
