// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/WindowState.h"

#include "platform/PathBytes.h"
#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QFile>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

class TestWindowState : public QObject {
    Q_OBJECT

    QTemporaryDir _folder;
    QString _file = _folder.filePath(u"deep/below/window.json"_s);

    static bool isEmpty(const WindowState& state) {
        return state.geometry.isEmpty() && state.splitter.isEmpty() && state.placesSplitter.isEmpty() &&
               !state.zoom && state.folder.isNull();
    }

 private Q_SLOTS:
    void everythingComesBack() {
        const QByteArray odd("\0\1\xff geometry", 12);
        const QString folder = platform::pathFromBytes("/pictures/not \xff UTF-8 %20");
        const WindowState written{odd, QByteArray("s"), QByteArray("p"), 0.25F, folder};
        QVERIFY(written.write(_file));
        const WindowState read = WindowState::read(_file);
        QCOMPARE(read.geometry, odd);
        QCOMPARE(read.splitter, QByteArray("s"));
        QCOMPARE(read.placesSplitter, QByteArray("p"));
        QCOMPARE(read.zoom, std::optional(0.25F));
        QCOMPARE(read.folder, folder);
    }

    void corruptFilesAreHarmless() {
        for (const QByteArray& content :
             {QByteArray(), QByteArray("{\"geometry\": \"AAEC\", \"zoo"), QByteArray("\xff\xfe\0\1", 4),
              QByteArray("[1, 2]"), QByteArray("{\"geometry\": 5, \"zoom\": \"big\", \"folder\": [1]}"),
              QByteArray("{\"zoom\": 7, \"folder\": \"relative/path\"}"),
              "{\"zoom\": 0.5, \"geometry\": \"" + QByteArray(200000, 'A') + "\"}"}) {
            QFile file(_folder.filePath(u"corrupt.json"_s));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(content);
            file.close();
            QVERIFY2(isEmpty(WindowState::read(file.fileName())),
                     content.first(std::min<qsizetype>(content.size(), 60)).constData());
        }
    }

    /// A FIFO must not hold the start, and a folder in the file's place must not break the end.
    void otherThingsInItsPlace() {
        const QString fifo = _folder.filePath(u"fifo"_s);
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        QVERIFY(isEmpty(WindowState::read(fifo)));
        QVERIFY(isEmpty(WindowState::read(_folder.path())));
        QVERIFY(!WindowState().write(_folder.path()));
        QVERIFY(isEmpty(WindowState::read(_folder.filePath(u"absent"_s))));
    }
};

TAVLIN_TEST_MAIN(QCoreApplication, TestWindowState)
#include "tst_window_state.moc"
