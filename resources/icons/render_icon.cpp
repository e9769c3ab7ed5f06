// SPDX-License-Identifier: GPL-3.0-or-later
// usage: render_icon SVG SIZE PNG
// Draws an icon at one size, for the build: the desktop's icon theme wants a file for each.
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    if (argc != 4)
        return EXIT_FAILURE;
    QSvgRenderer drawing(QString::fromLocal8Bit(argv[1]));
    const int size = std::atoi(argv[2]);
    QImage icon(size, size, QImage::Format_ARGB32_Premultiplied);
    icon.fill(Qt::transparent);
    QPainter painter(&icon);
    drawing.render(&painter);
    painter.end();
    const bool isDone = drawing.isValid() && icon.save(QString::fromLocal8Bit(argv[3]), "PNG");
    if (!isDone)
        std::fprintf(stderr, "render_icon: %s could not be drawn\n", argv[1]);
    return isDone ? EXIT_SUCCESS : EXIT_FAILURE;
}
