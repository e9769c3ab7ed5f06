// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>

/// Pictures go to the trash and come back, by the keys a person has for it.
class RemoveJourney : public Journey {
    Q_OBJECT

 private Q_SLOTS:
    void removesAndUndoes();
};

namespace {

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

void RemoveJourney::removesAndUndoes() {
    const Desktop desktop;
    if (!desktop.problem().isEmpty())
        QSKIP(qPrintable(desktop.problem()));
    const QString folder = makeFolder(desktop, QStringLiteral("to remove 100%"), 8);
    const QStringList removed{QStringLiteral("002.jpg"), QStringLiteral("003.jpg"),
                              QStringLiteral("004.jpg")};
    QMap<QString, QByteArray> before;
    for (const QString& name : removed)
        before[name] = contentOf(folder + u'/' + name);
    RunningProgram program(desktop, {folder});
    const AccessibilityBus bus(desktop);
    QVERIFY(waitForThumbnails(desktop, bus));
    const auto atFirst = cells(bus);
    const QDir trash(desktop.folder(QStringLiteral("data/Trash/files")));

    // In another pane the same key removes nothing.
    const auto selectThree = [&] {
        desktop.click(atFirst.at(removed[0]).center());
        desktop.click(atFirst.at(removed[2]).center(), 1, {QStringLiteral("shift")});
    };
    selectThree();
    desktop.key(QStringLiteral("Tab"));
    desktop.key(QStringLiteral("Delete"));
    desktop.click(atFirst.at(QStringLiteral("007.jpg")).center(), 1, {QStringLiteral("ctrl")});
    QVERIFY(bus.find(QStringLiteral("label"), QStringLiteral("4 of 8 selected")).isValid());
    selectThree();
    QVERIFY(bus.find(QStringLiteral("label"), QStringLiteral("3 of 8 selected")).isValid());
    desktop.key(QStringLiteral("Delete"));
    QVERIFY(bus.find(QStringLiteral("label"), QStringLiteral("5 items")).isValid());
    QCOMPARE(titles(bus),
             (QStringList{QStringLiteral("000.jpg"), QStringLiteral("001.jpg"), QStringLiteral("005.jpg"),
                          QStringLiteral("006.jpg"), QStringLiteral("007.jpg")}));
    QVERIFY(waitForThumbnails(desktop, bus));
    desktop.keepScreenshot(QStringLiteral("remove-gone"));
    QCOMPARE(trash.entryList(QDir::Files, QDir::Name), removed);
    for (const QString& name : removed) {
        QVERIFY(!QFile::exists(folder + u'/' + name));
        QCOMPARE(contentOf(trash.filePath(name)), before[name]);
        const QByteArray info = contentOf(trash.filePath(QStringLiteral("../info/%1.trashinfo").arg(name)));
        const QByteArray path = (folder + u'/' + name).toUtf8().toPercentEncoding("/");
        QVERIFY2(info.startsWith("[Trash Info]\nPath=" + path + "\nDeletionDate="), info.constData());
    }

    // The next picture is the current one: a blank selects it.
    desktop.key(QStringLiteral("space"));
    QVERIFY(bus.find(QStringLiteral("label"), QStringLiteral("1 of 5 selected")).isValid());
    desktop.key(QStringLiteral("Delete"));
    QVERIFY(bus.find(QStringLiteral("label"), QStringLiteral("4 items")).isValid());
    QVERIFY(!QFile::exists(folder + QStringLiteral("/005.jpg")));

    // What comes back is selected.
    desktop.key(QStringLiteral("ctrl+z"));
    QVERIFY(bus.find(QStringLiteral("label"), QStringLiteral("1 of 5 selected")).isValid());
    desktop.key(QStringLiteral("ctrl+z"));
    QVERIFY(bus.find(QStringLiteral("label"), QStringLiteral("3 of 8 selected")).isValid());
    for (const QString& name : removed)
        QCOMPARE(contentOf(folder + u'/' + name), before[name]);
    QVERIFY(trash.isEmpty());
    QCOMPARE(titles(bus).size(), 8);
    QVERIFY(waitForThumbnails(desktop, bus));
    desktop.keepScreenshot(QStringLiteral("remove-back"));
    QCOMPARE(program.terminate(), 0);
}

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    RemoveJourney journey;
    return QTest::qExec(&journey, argc, argv);
}

#include "tst_remove_journey.moc"
