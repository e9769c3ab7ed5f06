// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"

#include <QStandardPaths>

using namespace Qt::StringLiterals;

/// The scripts pane, as a person uses it: a script on the selected pictures by a double-click, and by a drop.
class ScriptsJourney : public Journey {
    Q_OBJECT

 private Q_SLOTS:
    void runsOnTheSelectedPictures() {
        TAVLIN_DESKTOP(desktop);
        const QString folder = makeFolder(desktop, u"chosen ü"_s, 8);
        QDir().mkpath(scripts(desktop));
        writeFile(scripts(desktop) + u"/0 keep.sh"_s,
                  "# Keeps what it is given, makes a picture, and fails where it was given nothing.\n"
                  "while [ ! -e go ]; do sleep 0.05; done\n"
                  "cp -- \"$1\" unfinished && size=$(wc -c < unfinished) && echo \"$1\" > where\n"
                  "cp ~/*/000.jpg \"$(echo ~/*ü)/made.jpg\" && mv unfinished kept\n"
                  "test $size -gt 2 || { echo \"$(basename \"$0\"): given nothing\" >&2; exit 1; }\n");

        RunningProgram program(desktop, {folder});
        const AccessibilityBus bus(desktop);
        QVERIFY(waitForThumbnails(desktop, bus));
        const auto row = [&](const char* name) {
            return bus.find(u"cell"_s, QString::fromLatin1(name)).extents.center();
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
            return bus.find(u"label"_s, QString::fromLatin1(status)).isValid();
        };

        // Nothing is selected yet: it runs all the same, on an empty list. The line below the grid changes
        // while the program is busy running it.
        const QRect status = bus.find(u"label"_s, u"8 items"_s).extents;
        const QImage idle = desktop.screenshot().copy(status);
        desktop.click(row("0 keep.sh"), 2);
        QTRY_VERIFY(desktop.screenshot().copy(status) != idle);
        desktop.keepScreenshot(u"script-runs"_s);
        writeFile(scripts(desktop) + u"/go"_s, {});
        QVERIFY(QTest::qWaitFor(runs, 10000));
        QCOMPARE(seen, paths({}));
        QVERIFY(says("0 keep: failed (exit 1): given nothing"));
        QVERIFY(program.log().contains(u"0 keep.sh: given nothing"_s));
        QVERIFY(bus.find(u"list item"_s, u"made.jpg"_s).isValid());

        desktop.click(cell("005.jpg"));
        desktop.click(cell("000.jpg"), 1, {u"ctrl"_s});
        desktop.click(cell("002.jpg"), 1, {u"ctrl"_s});
        desktop.click(row("0 keep.sh"), 2);
        QVERIFY(QTest::qWaitFor(runs, 10000));
        QCOMPARE(seen, paths({"000.jpg", "002.jpg", "005.jpg"}));
        QVERIFY(says("0 keep: done"));
        QTRY_VERIFY(!QFile::exists(QString::fromUtf8(readFile(scripts(desktop) + u"/where"_s).trimmed())));
        desktop.keepScreenshot(u"scripts"_s);

        // Dropping any picture on the row runs it on the selection, not on what was dropped.
        desktop.drag(cell("002.jpg"), row("0 keep.sh"));
        QVERIFY(QTest::qWaitFor(runs, 10000));
        QCOMPARE(seen, paths({"000.jpg", "002.jpg", "005.jpg"}));

        if (!QStandardPaths::findExecutable(u"xclip"_s).isEmpty()) {
            desktop.click(row("Copy paths to the clipboard.sh"), 2);
            const QStringList paste{u"-out"_s, u"-selection"_s, u"clipboard"_s};
            QTRY_COMPARE(QChar(QChar::ByteOrderMark) + desktop.run(u"xclip"_s, paste),
                         paths({"000.jpg", "002.jpg", "005.jpg"}));
        }

        // What is said of a run gives way to the next selection, also of as many.
        desktop.click(cell("004.jpg"));
        desktop.click(row("0 keep.sh"), 2);
        QVERIFY(says("0 keep: done"));
        desktop.click(cell("003.jpg"));
        QVERIFY(says("1 of 9 selected"));

        // Beside the rows a double-click brings nothing down.
        const QRect table = bus.find(u"table"_s, u"Scripts"_s).extents;
        desktop.click(QPoint(table.center().x(), table.bottom() - 4), 2);
        desktop.key(u"ctrl+q"_s);
        QCOMPARE(program.waitForEnd(), 0);
    }

 private:
    /// What the script was given, taken away so that the next run is seen; a null string until it has run.
    static QString given(const Desktop& desktop) {
        QFile kept(scripts(desktop) + u"/kept"_s);
        if (!kept.open(QFile::ReadOnly))
            return {};
        const QByteArray bytes = kept.readAll();
        kept.remove();
        QString text(bytes.size() / 2, u' ');
        memcpy(text.data(), bytes.constData(), static_cast<std::size_t>(bytes.size()));
        return text;
    }
    static QString scripts(const Desktop& desktop) { return desktop.folder(u"data/Tavlin/Scripts"_s); }
};

TAVLIN_JOURNEY_MAIN(ScriptsJourney)
#include "tst_scripts_journey.moc"
