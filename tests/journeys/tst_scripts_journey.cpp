// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QStandardPaths>

/// The scripts pane, as a person uses it: a script on the selected pictures by a double-click, and by a drop.
class ScriptsJourney : public Journey {
    Q_OBJECT

 private Q_SLOTS:
    void runsOnTheSelectedPictures();

 private:
    /// What the script was given, taken away so that the next run is seen; a null string until it has run.
    static QString given(const Desktop& desktop);
    static QString scripts(const Desktop& desktop) {
        return desktop.folder(QStringLiteral("data/Tavlin/Scripts"));
    }
};

QString ScriptsJourney::given(const Desktop& desktop) {
    QFile kept(scripts(desktop) + QStringLiteral("/kept"));
    if (!kept.open(QFile::ReadOnly))
        return {};
    const QByteArray bytes = kept.readAll();
    kept.remove();
    QString text(bytes.size() / 2, u' ');
    memcpy(text.data(), bytes.constData(), static_cast<std::size_t>(bytes.size()));
    return text;
}

void ScriptsJourney::runsOnTheSelectedPictures() {
    const Desktop desktop;
    if (!desktop.problem().isEmpty())
        QSKIP(qPrintable(desktop.problem()));
    const QString folder = makeFolder(desktop, QStringLiteral("chosen ü"), 8);
    QDir().mkpath(scripts(desktop));
    QFile script(scripts(desktop) + QStringLiteral("/0 keep.sh"));
    QVERIFY(script.open(QFile::WriteOnly));
    script.write(
        "# Keeps what it is given, makes a picture, and fails where it was given nothing.\n"
        "while [ ! -e go ]; do sleep 0.05; done\n"
        "cp -- \"$1\" unfinished && size=$(wc -c < unfinished) && echo \"$1\" > where\n"
        "cp ~/*/000.jpg \"$(echo ~/*ü)/made.jpg\" && mv unfinished kept && test $size -gt 2\n");
    script.close();

    RunningProgram program(desktop, {folder});
    const AccessibilityBus bus(desktop);
    QVERIFY(waitForThumbnails(desktop, bus));
    const auto row = [&](const char* name) {
        return bus.find(QStringLiteral("cell"), QString::fromLatin1(name)).extents.center();
    };
    const auto cell = [&, shown = cells(bus)](const char* name) {
        return shown.at(QString::fromLatin1(name)).center();
    };
    const auto paths = [&](std::initializer_list<const char*> names) {
        QString text(QChar(QChar::ByteOrderMark));
        for (const char* name : names)
            text += folder + u'/' + QString::fromLatin1(name) + u'\n';
        return text;
    };
    QString seen;
    const auto runs = [&] {
        return !(seen = given(desktop)).isNull();
    };

    const auto says = [&](const char* status) {
        return bus.find(QStringLiteral("label"), QString::fromLatin1(status)).isValid();
    };

    // Nothing is selected yet: it runs all the same, on an empty list. The line below the grid changes while
    // the program is busy running it.
    const QRect status = bus.find(QStringLiteral("label"), QStringLiteral("8 items")).extents;
    const QImage idle = desktop.screenshot().copy(status);
    desktop.click(row("0 keep.sh"), 2);
    QTRY_VERIFY(desktop.screenshot().copy(status) != idle);
    desktop.keepScreenshot(QStringLiteral("script-runs"));
    QFile go(scripts(desktop) + QStringLiteral("/go"));
    QVERIFY(go.open(QFile::WriteOnly));
    QVERIFY(QTest::qWaitFor(runs, 10000));
    QCOMPARE(seen, paths({}));
    QVERIFY(says("0 keep: failed (exit 1), see the log"));
    QVERIFY(bus.find(QStringLiteral("list item"), QStringLiteral("made.jpg")).isValid());

    desktop.click(cell("005.jpg"));
    desktop.click(cell("000.jpg"), 1, {QStringLiteral("ctrl")});
    desktop.click(cell("002.jpg"), 1, {QStringLiteral("ctrl")});
    desktop.click(row("0 keep.sh"), 2);
    QVERIFY(QTest::qWaitFor(runs, 10000));
    QCOMPARE(seen, paths({"000.jpg", "002.jpg", "005.jpg"}));
    QVERIFY(says("0 keep: done"));
    QFile where(scripts(desktop) + QStringLiteral("/where"));
    QVERIFY(where.open(QFile::ReadOnly));
    QTRY_VERIFY(!QFile::exists(QString::fromUtf8(where.readAll().trimmed())));
    desktop.keepScreenshot(QStringLiteral("scripts"));

    // Dropping any picture on the row runs it on the selection, not on what was dropped.
    desktop.drag(cell("002.jpg"), row("0 keep.sh"));
    QVERIFY(QTest::qWaitFor(runs, 10000));
    QCOMPARE(seen, paths({"000.jpg", "002.jpg", "005.jpg"}));

    if (!QStandardPaths::findExecutable(QStringLiteral("xclip")).isEmpty()) {
        desktop.click(row("Copy paths to the clipboard.sh"), 2);
        const QStringList paste{QStringLiteral("-out"), QStringLiteral("-selection"),
                                QStringLiteral("clipboard")};
        QTRY_COMPARE(QChar(QChar::ByteOrderMark) + desktop.run(QStringLiteral("xclip"), paste),
                     paths({"000.jpg", "002.jpg", "005.jpg"}));
    }

    // Beside the rows a double-click brings nothing down.
    const QRect table = bus.find(QStringLiteral("table"), QStringLiteral("Scripts")).extents;
    desktop.click(QPoint(table.center().x(), table.bottom() - 4), 2);
    desktop.key(QStringLiteral("ctrl+q"));
    QCOMPARE(program.waitForEnd(), 0);
}

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    ScriptsJourney journey;
    return QTest::qExec(&journey, argc, argv);
}

#include "tst_scripts_journey.moc"
