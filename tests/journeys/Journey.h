// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "testing/Desktop.h"
#include "testing/RunningProgram.h"
#include "testing/TestFiles.h"

#include <QDir>
#include <QGuiApplication>
#include <QObject>
#include <QTest>

#include <map>

/// What the journeys share: pictures of known colours, the settings file, and the grid as a person sees it.
class Journey : public QObject {
    Q_OBJECT

 protected:
    /// Makes a picture of one colour.
    static void makePicture(const QString& path, const QColor& colour, QSize size = QSize(640, 480));
    /// So many of them, named 000.jpg and on, in a new folder of the desktop's home; each colour tells its
    /// number.
    static QString makeFolder(const Desktop& desktop, const QString& name, int count,
                              QSize size = QSize(640, 480));
    static QColor colourOf(int number) { return QColor::fromHsv(number * 37 % 360, 200, 200); }
    /// The settings file as the program itself writes it.
    static void writeSettings(const Desktop& desktop, const std::map<QString, QString>& settings);
    static QString settingsFile(const Desktop& desktop);

    /// The grid's visible cells, by title.
    static std::map<QString, QRect> cells(const AccessibilityBus& bus);
    static QStringList titles(const AccessibilityBus& bus);
    /// Whether a cell's middle shows the colour.
    static bool shows(const QImage& screen, QRect cell, const QColor& colour);
    /// Waits until every cell that is wholly visible shows its picture's colour.
    static bool waitForThumbnails(const Desktop& desktop, const AccessibilityBus& bus,
                                  int milliseconds = 20000);
};

/// The desktop of a test function, which skips where none comes up.
#define TAVLIN_DESKTOP(name)         \
    const Desktop name;              \
    if (!(name).problem().isEmpty()) \
    QSKIP(qPrintable((name).problem()))

/// The main function of a journey, after what is to be done first.
#define TAVLIN_JOURNEY_MAIN(JourneyClass, ...)     \
    int main(int argc, char** argv) {              \
        __VA_ARGS__;                               \
        QGuiApplication application(argc, argv);   \
        JourneyClass journey;                      \
        return QTest::qExec(&journey, argc, argv); \
    }
