// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"

#include <sys/resource.h>

#include <QColorSpace>
#include <QDBusConnection>

#include <optional>
#include <tuple>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize pictureSize(1600, 1200);

/// Each pixel tells where it is; the windows of several such pictures differ by their titles.
QImage coordinatePicture() {
    QImage image(pictureSize, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgb(x & 255, y & 255, (x >> 8) << 4 | y >> 8));
    return image;
}

QPoint coordinatesOf(QRgb pixel) {
    return {(qBlue(pixel) >> 4) << 8 | qRed(pixel), (qBlue(pixel) & 15) << 8 | qGreen(pixel)};
}

}  // namespace

/// The file manager of the desktop, as far as it is asked to show files.
class FakeFileManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

 public:
    QStringList shown;

 public Q_SLOTS:
    void ShowItems(const QStringList& uris, const QString& /*startupId*/) { shown = uris; }
};

/// What is asked of the desktop takes its time: the deadline counts that.
#define TRY_COMPARE(actual, expected)                                                 \
    do {                                                                              \
        std::ignore = QTest::qWaitFor([&] { return (actual) == (expected); }, 20000); \
        QCOMPARE(actual, expected);                                                   \
    } while (false)

/// Pictures are looked at, one after the other and closely, and handed to other programs.
class PictureJourney : public Journey {
    Q_OBJECT

 private Q_SLOTS:
    void opensStepsAndZooms() {
        TAVLIN_DESKTOP(desktop);
        const QString folder = makePictures(desktop, 5);
        writeFile(folder + u"/3a notes.txt"_s, "no picture");
        QDir().mkpath(folder + u"/3b.png"_s);
        RunningProgram program(desktop, {desktop.folder(u"home/outer"_s)});
        const AccessibilityBus bus(desktop);
        QVERIFY(QTest::qWaitFor([&] { return cells(bus).contains(u"inner"_s); }, 20000));
        desktop.click(cells(bus).at(u"inner"_s).center(), 2);
        TRY_COMPARE(titles(bus).size(), 7);
        TRY_COMPARE(desktop.activeTitle(), u"inner — Tavlin"_s);

        const auto grid = cells(bus);
        desktop.click(grid.at(u"1.png"_s).center());
        desktop.click(grid.at(u"3.png"_s).center(), 1, {u"shift"_s});
        desktop.click(grid.at(u"2.png"_s).center(), 2);
        TRY_COMPARE(imageWindows(desktop).size(), 3);
        TRY_COMPARE(desktop.activeTitle(), u"3.png — Tavlin"_s);

        // Exact pixels, and a pan of exactly so many.
        const QRect inside(activeArea(desktop).topLeft() + QPoint(160, 100), QSize(250, 250));
        const auto showsPicture = [&] {
            const QRgb pixel = desktop.screenshot().pixel(inside.center());
            return qRed(pixel) != qGreen(pixel);
        };
        QVERIFY(QTest::qWaitFor(showsPicture, 20000));
        desktop.key(u"ctrl+1"_s);
        std::optional<QPoint> before;
        QVERIFY(QTest::qWaitFor([&] { return (before = partShownAt(desktop, inside)).has_value(); }, 20000));
        desktop.drag(inside.center(), inside.center() + QPoint(-120, 60));
        TRY_COMPARE(partShownAt(desktop, inside), *before + QPoint(120, -60));
        desktop.keepScreenshot(u"picture-exact"_s);
        // A zoomed picture takes the arrow key for itself.
        desktop.key(u"Right"_s);
        QVERIFY(QTest::qWaitFor(
            [&] { return partShownAt(desktop, inside).value_or(*before).x() > before->x() + 120; }, 20000));
        QCOMPARE(desktop.activeTitle(), u"3.png — Tavlin"_s);

        // The neighbours come in its place, pictures only; after the last there is none.
        desktop.key(u"ctrl+0"_s);
        const QRect place = activeArea(desktop);
        desktop.key(u"Right"_s);
        TRY_COMPARE(desktop.activeTitle(), u"4.png — Tavlin"_s);
        TRY_COMPARE(imageWindows(desktop).size(), 3);
        TRY_COMPARE(activeArea(desktop), place);
        desktop.key(u"Next"_s);
        desktop.key(u"F11"_s);
        const QRect screen = desktop.screenshot().rect();
        TRY_COMPARE(activeArea(desktop), screen);
        desktop.key(u"Prior"_s);
        TRY_COMPARE(desktop.activeTitle(), u"3.png — Tavlin"_s);
        TRY_COMPARE(activeArea(desktop), screen);
        desktop.keepScreenshot(u"picture-full"_s);
        desktop.key(u"Escape"_s);
        TRY_COMPARE(activeArea(desktop), place);

        // To the trash and back: the next one comes in its place meanwhile.
        const QString third = folder + u"/3.png"_s;
        desktop.key(u"Delete"_s);
        TRY_COMPARE(desktop.activeTitle(), u"4.png — Tavlin"_s);
        QVERIFY(!QFile::exists(third));
        TRY_COMPARE(imageWindows(desktop).size(), 3);
        desktop.key(u"ctrl+z"_s);
        TRY_COMPARE(QFile::exists(third), true);
        QVERIFY(bus.find(u"label"_s, u"1 of 7 selected"_s).isValid());
        for (int left = 2; left >= 0; --left) {
            desktop.key(left == 2 ? u"ctrl+w"_s : u"Escape"_s);
            TRY_COMPARE(imageWindows(desktop).size(), left);
        }
        QCOMPARE(program.terminate(), 0);
    }
    void handsFilesToTheDesktop() {
        TAVLIN_DESKTOP(desktop);
        const QString folder = makePictures(desktop, 3);
        QFile::rename(folder + u"/1.png"_s, folder + u"/1 ü&%.png"_s);
        const QString opened = desktop.folder(u"opened"_s);
        const QString painter = desktop.folder(u"painter"_s);
        writeFile(painter, "#!/bin/sh\nprintf '%s\\n' \"$@\" $(ulimit -Sn) > '" + opened.toUtf8() + "'\n");
        QFile::setPermissions(painter, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QDir().mkpath(desktop.folder(u"data/applications"_s));
        writeFile(desktop.folder(u"data/applications/painter.desktop"_s),
                  "[Desktop Entry]\nType=Application\nName=Painter\nExec=" + painter.toUtf8() + " %F\n");
        writeFile(desktop.folder(u"config/mimeapps.list"_s),
                  "[Default Applications]\nimage/png=painter.desktop;\n");

        QDBusConnection bus = QDBusConnection::connectToBus(desktop.busAddress(), desktop.busAddress());
        FakeFileManager manager;
        QVERIFY(bus.registerObject(u"/org/freedesktop/FileManager1"_s, &manager,
                                   QDBusConnection::ExportAllSlots));
        QVERIFY(bus.registerService(u"org.freedesktop.FileManager1"_s));

        rlimit own{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &own), 0);
        const rlimit lower{own.rlim_max / 2, own.rlim_max};
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &lower), 0);
        RunningProgram program(desktop, {folder});
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &own), 0);
        const AccessibilityBus accessibility(desktop);
        TRY_COMPARE(titles(accessibility).size(), 3);
        const auto grid = cells(accessibility);
        desktop.click(grid.at(u"0.png"_s).center());
        desktop.click(grid.at(u"1 ü&%.png"_s).center(), 1, {u"shift"_s});
        QVERIFY(accessibility.find(u"label"_s, u"2 of 3 selected"_s).isValid());

        const QString base = u"file://"_s + folder;
        const QStringList uris{base + u"/0.png"_s, base + u"/1%20%C3%BC&%25.png"_s};
        const QStringList paths{folder + u"/0.png"_s, folder + u"/1 ü&%.png"_s};
        desktop.key(u"ctrl+c"_s);
        const auto clipboard = [&](const char* type) {
            return desktop.run(
                u"xclip"_s, {u"-selection"_s, u"clipboard"_s, u"-o"_s, u"-t"_s, QString::fromLatin1(type)});
        };
        TRY_COMPARE(clipboard("text/uri-list"), uris.join(u"\r\n"_s) + u"\r\n"_s);
        QCOMPARE(clipboard("x-special/gnome-copied-files"), u"copy\n"_s + uris.join(u'\n'));
        QCOMPARE(clipboard("UTF8_STRING"), paths.join(u'\n'));

        // The context menu's entry below "Copy", and the only program in its submenu.
        desktop.click(grid.at(u"0.png"_s).center(), 1, {}, 3);
        QVERIFY(accessibility.find(u"menu item"_s, u"Show in File Manager"_s).isValid());
        for (const char* key : {"Down", "Down", "Down", "Right"})
            desktop.key(QString::fromLatin1(key));
        QVERIFY(accessibility.find(u"menu item"_s, u"Painter"_s).isValid());
        desktop.keepScreenshot(u"picture-open-with"_s);
        desktop.key(u"Return"_s);
        // It may open as many files as the program could when it started, which itself may open more.
        TRY_COMPARE(QString::fromUtf8(readFile(opened)),
                    u"%1\n%2\n"_s.arg(paths.join(u'\n')).arg(lower.rlim_cur));

        // The same from the window of one picture.
        desktop.click(grid.at(u"2.png"_s).center(), 2);
        TRY_COMPARE(desktop.activeTitle(), u"2.png — Tavlin"_s);
        desktop.key(u"alt+f"_s);
        desktop.key(u"m"_s);
        TRY_COMPARE(manager.shown, QStringList{base + u"/2.png"_s});
        QCOMPARE(program.terminate(), 0);
        QDBusConnection::disconnectFromBus(desktop.busAddress());
    }

 private:
    /// A folder "inner" with so many pictures ("0.png") in the desktop's "home/outer".
    static QString makePictures(const Desktop& desktop, int count) {
        const QString folder = desktop.folder(u"home/outer/inner"_s);
        QDir().mkpath(folder);
        const QString first = folder + u"/0.png"_s;
        if (!coordinatePicture().save(first, "PNG", 80))
            return {};
        for (int i = 1; i < count; ++i)
            QFile::copy(first, u"%1/%2.png"_s.arg(folder).arg(i));
        return folder;
    }
    static QRect activeArea(const Desktop& desktop) {
        const QString told = desktop.xdotool({u"getactivewindow"_s, u"getwindowgeometry"_s, u"--shell"_s});
        const auto number = [&told](const char* name) {
            return told.section(QString::fromLatin1(name) + u'=', 1).section(u'\n', 0, 0).toInt();
        };
        return {number("\nX"), number("\nY"), number("\nWIDTH"), number("\nHEIGHT")};
    }
    static QStringList imageWindows(const Desktop& desktop) { return desktop.windows(u"^[0-9]\\.png"_s); }
    /// Where the active window's picture shows which part of the file, exactly; none before it does.
    static std::optional<QPoint> partShownAt(const Desktop& desktop, QRect area) {
        static const QImage reference = coordinatePicture();
        QImage seen = desktop.screenshot().copy(area);
        seen.setColorSpace({});
        const QRect part(coordinatesOf(seen.pixel(0, 0)), area.size());
        return reference.rect().contains(part) && seen == reference.copy(part) ? std::optional(part.topLeft())
                                                                               : std::nullopt;
    }
};

TAVLIN_JOURNEY_MAIN(PictureJourney)
#include "tst_picture_journey.moc"
