// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FolderReader.h"
#include "platform/VolumeWorkers.h"
#include "testing/NoThreads.h"
#include "testing/SlowPlace.h"
#include "testing/TestMain.h"

#include <QElapsedTimer>

using platform::FolderContents;
using platform::FolderDetail;
using platform::FolderReader;
using platform::VolumeWorkers;

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// All places are slow until a test has them answer.
class TestFolderReader : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void init() {
        _slow = std::make_unique<SlowPlace>();
        _owner = std::make_shared<int>();
        _delivered = 0;
        _reader = std::make_unique<FolderReader>();
        _reader->setRead(_slow->read());
    }

    void waitsOnceInATurn() {
        QElapsedTimer timer;
        const auto timeToAsk = [&](const QString& path) {
            timer.start();
            return ask(path, _owner) ? -1 : timer.elapsed();
        };
        QVERIFY2(timeToAsk(u"/usr"_s) >= 39, "the place was not given its time");
        qint64 further = 40;
        for (const QString& path : {u"/usr/bin"_s, u"/proc/sys"_s, u"/proc/fs"_s, u"/usr/lib"_s})
            further = std::min(further, timeToAsk(path));
        QVERIFY2(further >= 0 && further < 20, "a turn waited twice");
        _slow->answer();
        QCOMPARE(_delivered, 0);
        QTRY_COMPARE(_delivered, 5);
    }

    void boundsItsWorkers() {
        constexpr int most = 2 * static_cast<int>(VolumeWorkers::mostWorkers);
        for (int i = 0; i < 20; ++i) {
            for (const QString& folder : {u"/usr/."_s, u"/proc/."_s})
                QVERIFY(!ask(folder + QString(i, u'/'), _owner));
            QCoreApplication::processEvents();
        }
        QTRY_COMPARE(_slow->mostAtOnce(), most);
        _slow->answer();
        QTRY_COMPARE(_delivered, 40);
        QCOMPARE(_slow->mostAtOnce(), most);
    }

    void visitsOnceForAllWhoWaitAndNeverForNobody() {
        auto goner = std::make_shared<int>();
        QStringList expected;
        for (std::size_t i = 0; i < VolumeWorkers::mostWorkers; ++i) {
            expected.append(u"/usr"_s + QString(static_cast<int>(i), u'/'));
            ask(expected.last(), goner);
        }
        QTRY_COMPARE(_slow->visited().size(), expected.size());
        ask(u"/usr/lib"_s, goner);
        for (int i = 0; i < 3; ++i)
            ask(u"/usr/bin"_s, _owner);
        goner.reset();
        _slow->answer();
        QTRY_COMPARE(_delivered, 3);
        QStringList visited = _slow->visited();
        visited.sort();
        QCOMPARE(visited, expected + QStringList{u"/usr/bin"_s});
    }

    void asksAgainAfterThereWasNoThread() {
        _slow->answer();
        auto none = std::make_unique<NoThreads>();
        QVERIFY(!ask(u"/usr"_s, _owner));
        none.reset();
        QVERIFY(ask(u"/usr"_s, _owner));
    }

    void asksAnotherVolumeWhereALinkLeads() {
        const QTemporaryDir home;
        QVERIFY(QDir(home.path()).mkdir(u"folder"_s));
        QVERIFY(QFile::link(u"/proc/sys"_s, home.filePath(u"link"_s)));
        SlowPlace slow(u"/proc"_s);
        _reader->setRead(slow.read());
        for (std::size_t i = 0; i < VolumeWorkers::mostWorkers; ++i)
            QVERIFY(!ask(u"/proc"_s + QString(static_cast<int>(i), u'/'), _owner));
        _reader->setRead(slow.read(), 10s);
        const auto countFolders = [&] {
            return _reader->contents(home.path(), FolderDetail::subfolders)->entries.size();
        };
        QCOMPARE(countFolders(), 1u);
        slow.answer();
        QTRY_COMPARE(countFolders(), 2u);
    }

 private:
    std::optional<FolderContents> ask(const QString& path, const std::shared_ptr<int>& owner) {
        return _reader->contents(path, FolderDetail::status,
                                 {owner, [this](const FolderContents& contents) {
                                      QVERIFY(contents.modificationTime.has_value());
                                      ++_delivered;
                                  }});
    }
    std::unique_ptr<FolderReader> _reader;
    std::unique_ptr<SlowPlace> _slow;
    std::shared_ptr<int> _owner;
    int _delivered = 0;
};

TAVLIN_TEST_MAIN(QCoreApplication, TestFolderReader)
#include "tst_folder_reader.moc"
