// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Target.h"
#include "testing/TestMain.h"

#include <random>

using fuzzing::Target;

/// Runs each target over its examples, over damaged ones, and over what the fuzzer has once found
/// (tests/data/fuzz, files that begin with the target's name and a dash). What is wrong ends the process.
class ReplayTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void damage_data() {
        QTest::addColumn<const Target*>("target");
        for (const Target* target : Target::all())
            QTest::newRow(target->name) << target;
    }

    void damage() {
        QFETCH(const Target*, target);
        const auto seeds = target->seeds();
        QVERIFY(!seeds.empty());
        std::mt19937 random(1);  // NOLINT: the same damage each time
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
        for (const QByteArray& seed : seeds) {
            QVERIFY(!seed.isEmpty());
            target->examine(seed);
            for (int sixteenth = 0; sixteenth < 16; ++sixteenth)
                target->examine(seed.first(seed.size() * sixteenth / 16));
            for (int round = 0; round < 32; ++round) {
                QByteArray damaged = seed;
                damaged[qsizetype(random() % size_t(seed.size()))] = char(random());
                target->examine(damaged);
            }
        }
        const QDir found(QStringLiteral(TAVLIN_TEST_DATA "/fuzz"));
        for (const QString& name :
             found.entryList({QString::fromLatin1(target->name) + QStringLiteral("-*")}, QDir::Files)) {
            QFile file(found.filePath(name));
            QVERIFY(file.open(QIODevice::ReadOnly));
            target->examine(file.readAll());
        }
        qInstallMessageHandler(nullptr);
    }
};

TAVLIN_TEST_MAIN(QCoreApplication, ReplayTest)

#include "tst_fuzz_replay.moc"
