// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"

#include <QColorSpace>
#include <QDBusConnection>
#include <QDir>
#include <QFile>
#include <QGuiApplication>

#include <optional>
#include <tuple>

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

QString contentOf(const QString& path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void write(const QString& path, const QString& content) {
    QFile file(path);
    QVERIFY(file.open(QFile::WriteOnly));
    file.write(content.toUtf8());
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
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

/// Pictures are looked at, one after the other and closely, and handed to other programs.
class PictureJourney : public Journey {
    Q_OBJECT

 private Q_SLOTS:
    void opensStepsAndZooms();
    void handsFilesToTheDesktop();

 private:
    /// A folder "inner" with so many pictures ("0.png") in the desktop's "home/outer".
    static QString makePictures(const Desktop& desktop, int count);
    static QString activeTitle(const Desktop& desktop);
    static QRect activeArea(const Desktop& desktop);
    static QStringList imageWindows(const Desktop& desktop);
    /// Where the active window's picture shows which part of the file, exactly; none before it does.
    static std::optional<QPoint> partShownAt(const Desktop& desktop, QRect area);
};

QString PictureJourney::makePictures(const Desktop& desktop, int count) {
    const QString folder = desktop.folder(QStringLiteral("home/outer/inner"));
    QDir().mkpath(folder);
    const QString first = folder + QStringLiteral("/0.png");
    if (!coordinatePicture().save(first, "PNG", 80))
        return {};
    for (int i = 1; i < count; ++i)
        QFile::copy(first, QStringLiteral("%1/%2.png").arg(folder).arg(i));
    return folder;
}

QString PictureJourney::activeTitle(const Desktop& desktop) {
    return desktop
        .run(QStringLiteral("xdotool"), {QStringLiteral("getactivewindow"), QStringLiteral("getwindowname")})
        .trimmed();
}

QRect PictureJourney::activeArea(const Desktop& desktop) {
    const QString told = desktop.run(
        QStringLiteral("xdotool"),
        {QStringLiteral("getactivewindow"), QStringLiteral("getwindowgeometry"), QStringLiteral("--shell")});
    const auto number = [&told](const char* name) {
        return told.section(QString::fromLatin1(name) + u'=', 1).section(u'\n', 0, 0).toInt();
    };
    return {number("\nX"), number("\nY"), number("\nWIDTH"), number("\nHEIGHT")};
}

QStringList PictureJourney::imageWindows(const Desktop& desktop) {
    return desktop
        .run(QStringLiteral("xdotool"), {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                                         QStringLiteral("--name"), QStringLiteral("^[0-9]\\.png")})
        .split(u'\n', Qt::SkipEmptyParts);
}

std::optional<QPoint> PictureJourney::partShownAt(const Desktop& desktop, QRect area) {
    static const QImage reference = coordinatePicture();
    QImage seen = desktop.screenshot().copy(area);
    seen.setColorSpace({});
    const QRect part(coordinatesOf(seen.pixel(0, 0)), area.size());
    return reference.rect().contains(part) && seen == reference.copy(part) ? std::optional(part.topLeft())
                                                                           : std::nullopt;
}

/// What is asked of the desktop takes its time: the deadline counts that.
#define TRY_COMPARE(actual, expected)                                                 \
    do {                                                                              \
        std::ignore = QTest::qWaitFor([&] { return (actual) == (expected); }, 20000); \
        QCOMPARE(actual, expected);                                                   \
    } while (false)

void PictureJourney::opensStepsAndZooms() {
    const Desktop desktop;
    if (!desktop.problem().isEmpty())
        QSKIP(qPrintable(desktop.problem()));
    const QString folder = makePictures(desktop, 5);
    write(folder + QStringLiteral("/3a notes.txt"), QStringLiteral("no picture"));
    QDir().mkpath(folder + QStringLiteral("/3b.png"));
    RunningProgram program(desktop, {desktop.folder(QStringLiteral("home/outer"))});
    const AccessibilityBus bus(desktop);
    QVERIFY(QTest::qWaitFor([&] { return cells(bus).contains(QStringLiteral("inner")); }, 20000));
    desktop.click(cells(bus).at(QStringLiteral("inner")).center(), 2);
    TRY_COMPARE(titles(bus).size(), 7);
    TRY_COMPARE(activeTitle(desktop), QStringLiteral("inner — Tavlin"));

    const auto grid = cells(bus);
    desktop.click(grid.at(QStringLiteral("1.png")).center());
    desktop.click(grid.at(QStringLiteral("3.png")).center(), 1, {QStringLiteral("shift")});
    desktop.click(grid.at(QStringLiteral("2.png")).center(), 2);
    TRY_COMPARE(imageWindows(desktop).size(), 3);
    TRY_COMPARE(activeTitle(desktop), QStringLiteral("3.png — Tavlin"));

    // Exact pixels, and a pan of exactly so many.
    const QRect inside(activeArea(desktop).topLeft() + QPoint(160, 100), QSize(250, 250));
    const auto showsPicture = [&] {
        const QRgb pixel = desktop.screenshot().pixel(inside.center());
        return qRed(pixel) != qGreen(pixel);
    };
    QVERIFY(QTest::qWaitFor(showsPicture, 20000));
    desktop.key(QStringLiteral("ctrl+1"));
    std::optional<QPoint> before;
    QVERIFY(QTest::qWaitFor([&] { return (before = partShownAt(desktop, inside)).has_value(); }, 20000));
    desktop.drag(inside.center(), inside.center() + QPoint(-120, 60));
    TRY_COMPARE(partShownAt(desktop, inside), *before + QPoint(120, -60));
    desktop.keepScreenshot(QStringLiteral("picture-exact"));
    // A zoomed picture takes the arrow key for itself.
    desktop.key(QStringLiteral("Right"));
    QVERIFY(QTest::qWaitFor(
        [&] { return partShownAt(desktop, inside).value_or(*before).x() > before->x() + 120; }, 20000));
    QCOMPARE(activeTitle(desktop), QStringLiteral("3.png — Tavlin"));

    // The neighbours come in its place, pictures only; after the last there is none.
    desktop.key(QStringLiteral("ctrl+0"));
    const QRect place = activeArea(desktop);
    desktop.key(QStringLiteral("Right"));
    TRY_COMPARE(activeTitle(desktop), QStringLiteral("4.png — Tavlin"));
    TRY_COMPARE(imageWindows(desktop).size(), 3);
    TRY_COMPARE(activeArea(desktop), place);
    desktop.key(QStringLiteral("Next"));
    desktop.key(QStringLiteral("F11"));
    const QRect screen = desktop.screenshot().rect();
    TRY_COMPARE(activeArea(desktop), screen);
    desktop.key(QStringLiteral("Prior"));
    TRY_COMPARE(activeTitle(desktop), QStringLiteral("3.png — Tavlin"));
    TRY_COMPARE(activeArea(desktop), screen);
    desktop.keepScreenshot(QStringLiteral("picture-full"));
    desktop.key(QStringLiteral("Escape"));
    TRY_COMPARE(activeArea(desktop), place);

    // To the trash and back: the next one comes in its place meanwhile.
    const QString third = folder + QStringLiteral("/3.png");
    desktop.key(QStringLiteral("Delete"));
    TRY_COMPARE(activeTitle(desktop), QStringLiteral("4.png — Tavlin"));
    QVERIFY(!QFile::exists(third));
    TRY_COMPARE(imageWindows(desktop).size(), 3);
    desktop.key(QStringLiteral("ctrl+z"));
    TRY_COMPARE(QFile::exists(third), true);
    QVERIFY(bus.find(QStringLiteral("label"), QStringLiteral("1 of 7 selected")).isValid());
    for (int left = 2; left >= 0; --left) {
        desktop.key(left == 2 ? QStringLiteral("ctrl+w") : QStringLiteral("Escape"));
        TRY_COMPARE(imageWindows(desktop).size(), left);
    }
    QCOMPARE(program.terminate(), 0);
}

void PictureJourney::handsFilesToTheDesktop() {
    const Desktop desktop;
    if (!desktop.problem().isEmpty())
        QSKIP(qPrintable(desktop.problem()));
    const QString folder = makePictures(desktop, 3);
    QFile::rename(folder + QStringLiteral("/1.png"), folder + QStringLiteral("/1 ü&%.png"));
    const QString opened = desktop.folder(QStringLiteral("opened"));
    const QString painter = desktop.folder(QStringLiteral("painter"));
    write(painter, QStringLiteral("#!/bin/sh\nprintf '%s\\n' \"$@\" > '%1'\n").arg(opened));
    QDir().mkpath(desktop.folder(QStringLiteral("data/applications")));
    write(desktop.folder(QStringLiteral("data/applications/painter.desktop")),
          QStringLiteral("[Desktop Entry]\nType=Application\nName=Painter\nExec=%1 %F\n").arg(painter));
    write(desktop.folder(QStringLiteral("config/mimeapps.list")),
          QStringLiteral("[Default Applications]\nimage/png=painter.desktop;\n"));

    QDBusConnection bus = QDBusConnection::connectToBus(desktop.busAddress(), desktop.busAddress());
    FakeFileManager manager;
    QVERIFY(bus.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), &manager,
                               QDBusConnection::ExportAllSlots));
    QVERIFY(bus.registerService(QStringLiteral("org.freedesktop.FileManager1")));

    RunningProgram program(desktop, {folder});
    const AccessibilityBus accessibility(desktop);
    TRY_COMPARE(titles(accessibility).size(), 3);
    const auto grid = cells(accessibility);
    desktop.click(grid.at(QStringLiteral("0.png")).center());
    desktop.click(grid.at(QStringLiteral("1 ü&%.png")).center(), 1, {QStringLiteral("shift")});
    QVERIFY(accessibility.find(QStringLiteral("label"), QStringLiteral("2 of 3 selected")).isValid());

    const QString base = QStringLiteral("file://") + folder;
    const QStringList uris{base + QStringLiteral("/0.png"), base + QStringLiteral("/1%20%C3%BC&%25.png")};
    const QStringList paths{folder + QStringLiteral("/0.png"), folder + QStringLiteral("/1 ü&%.png")};
    desktop.key(QStringLiteral("ctrl+c"));
    const auto clipboard = [&](const char* type) {
        return desktop.run(QStringLiteral("xclip"),
                           {QStringLiteral("-selection"), QStringLiteral("clipboard"), QStringLiteral("-o"),
                            QStringLiteral("-t"), QString::fromLatin1(type)});
    };
    TRY_COMPARE(clipboard("text/uri-list"), uris.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n"));
    QCOMPARE(clipboard("x-special/gnome-copied-files"), QStringLiteral("copy\n") + uris.join(u'\n'));
    QCOMPARE(clipboard("UTF8_STRING"), paths.join(u'\n'));

    // The context menu's entry below "Copy", and the only program in its submenu.
    desktop.click(grid.at(QStringLiteral("0.png")).center(), 1, {}, 3);
    QVERIFY(
        accessibility.find(QStringLiteral("menu item"), QStringLiteral("Show in File Manager")).isValid());
    for (const char* key : {"Down", "Down", "Down", "Right"})
        desktop.key(QString::fromLatin1(key));
    QVERIFY(accessibility.find(QStringLiteral("menu item"), QStringLiteral("Painter")).isValid());
    desktop.keepScreenshot(QStringLiteral("picture-open-with"));
    desktop.key(QStringLiteral("Return"));
    TRY_COMPARE(contentOf(opened), paths.join(u'\n') + u'\n');

    // The same from the window of one picture.
    desktop.click(grid.at(QStringLiteral("2.png")).center(), 2);
    TRY_COMPARE(activeTitle(desktop), QStringLiteral("2.png — Tavlin"));
    desktop.key(QStringLiteral("alt+f"));
    desktop.key(QStringLiteral("m"));
    TRY_COMPARE(manager.shown, QStringList{base + QStringLiteral("/2.png")});
    QCOMPARE(program.terminate(), 0);
    QDBusConnection::disconnectFromBus(desktop.busAddress());
}

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    PictureJourney journey;
    return QTest::qExec(&journey, argc, argv);
}

#include "tst_picture_journey.moc"
