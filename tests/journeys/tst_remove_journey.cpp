// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"

using namespace Qt::StringLiterals;

/// Pictures go to the trash and come back, by the keys a person has for it.
class RemoveJourney : public Journey {
    Q_OBJECT

 private Q_SLOTS:
    void removesAndUndoes() {
        TAVLIN_DESKTOP(desktop);
        const QString folder = makeFolder(desktop, u"to remove 100%"_s, 8);
        const QStringList removed{u"002.jpg"_s, u"003.jpg"_s, u"004.jpg"_s};
        QMap<QString, QByteArray> before;
        for (const QString& name : removed)
            before[name] = readFile(folder + u'/' + name);
        RunningProgram program(desktop, {folder});
        const AccessibilityBus bus(desktop);
        QVERIFY(waitForThumbnails(desktop, bus));
        const auto atFirst = cells(bus);
        const QDir trash(desktop.folder(u"data/Trash/files"_s));

        // In another pane the same key removes nothing.
        const auto selectThree = [&] {
            desktop.click(atFirst.at(removed[0]).center());
            desktop.click(atFirst.at(removed[2]).center(), 1, {u"shift"_s});
        };
        selectThree();
        desktop.key(u"Tab"_s);
        desktop.key(u"Delete"_s);
        desktop.click(atFirst.at(u"007.jpg"_s).center(), 1, {u"ctrl"_s});
        QVERIFY(bus.find(u"label"_s, u"4 of 8 selected"_s).isValid());
        selectThree();
        QVERIFY(bus.find(u"label"_s, u"3 of 8 selected"_s).isValid());
        desktop.key(u"Delete"_s);
        QVERIFY(bus.find(u"label"_s, u"5 items"_s).isValid());
        QCOMPARE(titles(bus),
                 (QStringList{u"000.jpg"_s, u"001.jpg"_s, u"005.jpg"_s, u"006.jpg"_s, u"007.jpg"_s}));
        QVERIFY(waitForThumbnails(desktop, bus));
        desktop.keepScreenshot(u"remove-gone"_s);
        QCOMPARE(trash.entryList(QDir::Files, QDir::Name), removed);
        for (const QString& name : removed) {
            QVERIFY(!QFile::exists(folder + u'/' + name));
            QCOMPARE(readFile(trash.filePath(name)), before[name]);
            const QByteArray info = readFile(trash.filePath(u"../info/%1.trashinfo"_s.arg(name)));
            const QByteArray path = (folder + u'/' + name).toUtf8().toPercentEncoding("/");
            QVERIFY2(info.startsWith("[Trash Info]\nPath=" + path + "\nDeletionDate="), info.constData());
        }

        // The next picture is the current one: a blank selects it.
        desktop.key(u"space"_s);
        QVERIFY(bus.find(u"label"_s, u"1 of 5 selected"_s).isValid());
        desktop.key(u"Delete"_s);
        QVERIFY(bus.find(u"label"_s, u"4 items"_s).isValid());
        QVERIFY(!QFile::exists(folder + u"/005.jpg"_s));

        desktop.key(u"ctrl+z"_s);
        QVERIFY(bus.find(u"label"_s, u"1 of 5 selected"_s).isValid());
        desktop.key(u"ctrl+z"_s);
        QVERIFY(bus.find(u"label"_s, u"3 of 8 selected"_s).isValid());
        for (const QString& name : removed)
            QCOMPARE(readFile(folder + u'/' + name), before[name]);
        QVERIFY(trash.isEmpty());
        QCOMPARE(titles(bus).size(), 8);
        QVERIFY(waitForThumbnails(desktop, bus));
        desktop.keepScreenshot(u"remove-back"_s);
        QCOMPARE(program.terminate(), 0);
    }
};

TAVLIN_JOURNEY_MAIN(RemoveJourney)
#include "tst_remove_journey.moc"
