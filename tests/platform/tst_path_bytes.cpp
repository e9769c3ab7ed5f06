// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PathBytes.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace platform;

class PathBytesTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void showsWhatItKeeps_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("shown");
        QTest::newRow("UTF-8") << QByteArray("/\xc3\xa4\xf0\x9f\x92\xaf") << u"/ä\U0001F4AF"_s;
        QTest::newRow("Latin-1") << QByteArray("h\xe4r") << u"h\uFFFDr"_s;
        QTest::newRow("after a pair") << QByteArray("\xf0\x9f\x92\xaf\xaf") << u"\U0001F4AF\uFFFD"_s;
        QTest::newRow("overlong slash") << QByteArray("\xc0\xaf") << u"\uFFFD\uFFFD"_s;
        QTest::newRow("surrogate") << QByteArray("\xed\xb3\xa4") << u"\uFFFD\uFFFD\uFFFD"_s;
        QTest::newRow("control characters") << QByteArray("a\nb\x7f") << u"a b "_s;
    }
    void showsWhatItKeeps() {
        QFETCH(QByteArray, bytes);
        QTEST(displayablePath(pathFromBytes(bytes)), "shown");
        QCOMPARE(bytesFromPath(pathFromBytes(bytes)), bytes);
    }

    /// Every pair of bytes, alone and at the end and the start of longer sequences.
    void losesNoPairOfBytes() {
        for (int pair = 0; pair < 0x10000; ++pair) {
            const QByteArray two = QByteArray(1, static_cast<char>(pair >> 8)) + static_cast<char>(pair);
            for (const QByteArray& bytes : {two, "\xf0\x9f\x92\xaf" + two, two + "\x9f\x92\xaf"})
                QVERIFY2(bytesFromPath(pathFromBytes(bytes)) == bytes, bytes.toHex().constData());
        }
    }

    void travelsThroughFileUris() {
        const QByteArray bytes("/h\xe4r b%#?[x];\xc3\xa4~!'");
        const QByteArray uri = fileUriFromPath(pathFromBytes(bytes));
        QCOMPARE(uri, QByteArray("file:///h%E4r%20b%25%23%3F%5Bx%5D%3B%C3%A4~!'"));
        QCOMPARE(bytesFromPath(pathFromFileUri(uri)), bytes);
        for (const char* foreign : {"http://host/a", "file://host/a", "file:a", "/a", "file:///a%00b", ""})
            QVERIFY2(pathFromFileUri(foreign).isNull(), foreign);
        QVERIFY(fileUriFromPath(u"a/b"_s).isEmpty());
    }
};

QTEST_APPLESS_MAIN(PathBytesTest)
#include "tst_path_bytes.moc"
