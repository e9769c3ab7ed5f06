// SPDX-License-Identifier: GPL-3.0-or-later
#include "journeys/Journey.h"

using namespace Qt::StringLiterals;

void Journey::makePicture(const QString& path, const QColor& colour, QSize size) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    QVERIFY(image.save(path, "JPEG", 90));
}

QString Journey::makeFolder(const Desktop& desktop, const QString& name, int count, QSize size) {
    const QString folder = desktop.folder(u"home/"_s + name);
    QDir().mkpath(folder);
    for (int i = 0; i < count; ++i)
        makePicture(u"%1/%2.jpg"_s.arg(folder).arg(i, 3, 10, QLatin1Char('0')), colourOf(i), size);
    return folder;
}

QString Journey::settingsFile(const Desktop& desktop) {
    return desktop.folder(u"config/tavlin/tavlin.conf"_s);
}

void Journey::writeSettings(const Desktop& desktop, const std::map<QString, QString>& settings) {
    QDir().mkpath(desktop.folder(u"config/tavlin"_s));
    QFile file(settingsFile(desktop));
    QVERIFY(file.open(QFile::WriteOnly));
    file.write("[PreferencesGlobals]\n");
    for (const auto& [key, value] : settings)
        file.write((key + u'=' + value + u'\n').toUtf8());
}

std::map<QString, QRect> Journey::cells(const AccessibilityBus& bus) {
    std::map<QString, QRect> result;
    for (const AccessibleObject& cell : bus.children(bus.find(u"list"_s, u"Pictures"_s)))
        if (cell.role == u"list item")
            result[cell.name] = cell.extents;
    return result;
}

QStringList Journey::titles(const AccessibilityBus& bus) {
    return bus.names(bus.find(u"list"_s, u"Pictures"_s), u"list item"_s);
}

bool Journey::shows(const QImage& screen, QRect cell, const QColor& colour) {
    // The picture stands above the title, in the upper part of the cell.
    const QPoint middle(cell.center().x(), cell.top() + cell.height() * 2 / 5);
    if (!screen.rect().contains(middle))
        return false;
    const QColor seen = screen.pixelColor(middle);
    const auto differs = [](int a, int b) {
        return qAbs(a - b) > 12;
    };
    return !differs(seen.red(), colour.red()) && !differs(seen.green(), colour.green()) &&
           !differs(seen.blue(), colour.blue());
}

bool Journey::waitForThumbnails(const Desktop& desktop, const AccessibilityBus& bus, int milliseconds) {
    return QTest::qWaitFor(
        [&] {
            const auto shown = cells(bus);
            if (shown.empty())
                return false;
            const QImage screen = desktop.screenshot();
            const QRect grid = bus.find(u"list"_s, u"Pictures"_s).extents;
            for (const auto& [title, cell] : shown)
                if (grid.contains(cell) && !shows(screen, cell, colourOf(title.left(3).toInt())))
                    return false;
            return true;
        },
        milliseconds);
}
