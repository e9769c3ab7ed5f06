// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/LogLines.h"
#include "testing/TestMain.h"
#include "ui/ImageAndTextCell.h"
#include "ui/SeparatorCell.h"

#include <QApplication>
#include <QPainter>

using platform::CellContext;
using platform::Image;

namespace {

QString text(const char* latin) {
    return QString::fromLatin1(latin);
}

/// Black and white in turn, so that a picture drawn off its pixels turns grey.
QIcon chequeredIcon() {
    QIcon icon;
    for (const int size : {16, 24, 32}) {
        QImage image(size, size, QImage::Format_RGB32);
        for (int x = 0; x < size; ++x)
            for (int y = 0; y < size; ++y)
                image.setPixel(x, y, (x + y) % 2 == 0 ? 0xff000000 : 0xffffffff);
        icon.addPixmap(QPixmap::fromImage(image));
    }
    return icon;
}

/// What a cell draws on blue in a frame of the picture.
QImage drawn(platform::TextFieldCell& cell, QRectF frame) {
    QImage picture(200, 60, QImage::Format_RGB32);
    picture.fill(Qt::blue);
    QPainter painter(&picture);
    cell.drawWithFrameInView(frame, painter, CellContext());
    return picture;
}

/// The pixels that are not blue.
QRect inked(const QImage& picture) {
    QRect ink;
    for (int x = 0; x < picture.width(); ++x)
        for (int y = 0; y < picture.height(); ++y)
            if (picture.pixel(x, y) != QColor(Qt::blue).rgb())
                ink |= QRect(x, y, 1, 1);
    return ink;
}

}  // namespace

class TestCells : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void init() {
        appGlobals = PreferencesDictionary::dictionary();
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
    }
    void cleanup() {
        delete appGlobals;
        appGlobals = nullptr;
    }

    void geometry() {
        const auto row = ImageAndTextGeometry::forFrame(QRectF(0, 0, 100, 20), QSizeF(16, 16), true);
        QCOMPARE(row.imagePoint, QPointF(3, 17));
        QCOMPARE(row.imageFrame, QRectF(3, 1, 16, 16));
        QCOMPARE(row.textFrame, QRectF(21, 1, 81, 16));
        const auto odd = ImageAndTextGeometry::forFrame(QRectF(10, 40, 100, 21), QSizeF(16, 16), true);
        QCOMPARE(odd.imagePoint, QPointF(13, 58));
        const auto upward = ImageAndTextGeometry::forFrame(QRectF(0, 0, 100, 21), QSizeF(16, 16), false);
        QCOMPARE(upward.imageFrame, QRectF(3, 2, 16, 16));
    }

    void whatIsDrawn() {
        const QString size =
            QString::number(static_cast<double>(platform::TextFieldCell::smallSystemFontSize()), 'f', 6);
        const auto linesOf = [&](std::initializer_list<const char*> between) {
            QStringList lines{text("(181): Start"), text("(185): system font size is: ") + size};
            for (const char* line : between)
                lines.append(text(line));
            return (lines << text("(232): End"))
                .replaceInStrings(QRegularExpression(text("^")),
                                  text("-[ImageAndTextCell drawWithFrame:inView:] "));
        };
        const QRectF frame(10, 10, 100, 20);
        ImageAndTextCell cell;
        LogLines log;
        QVERIFY(inked(drawn(cell, frame)).isEmpty());
        QCOMPARE(log.taken(), linesOf({"(217): Image was nil.", "(229): not isGroupCell"}));
        cell.setTitle(text("MMM"));
        const QRect group = inked(drawn(cell, frame));
        QVERIFY2(group.left() < 14 && std::abs(group.center().y() - 19) <= 2, "not in the row's middle");
        QCOMPARE(log.taken(), linesOf({"(217): Image was nil.", "(220): isGroupCell"}));
        cell.setImage(std::make_shared<Image>(chequeredIcon()));
        log.taken();
        const QRect both = inked(drawn(cell, frame));
        QCOMPARE(both.topLeft(), QPoint(13, 11));
        QVERIFY2(both.right() > 31, "no text beside the icon");
        QCOMPARE(log.taken(), linesOf({"(191): Image wasn't nil. Drawing image."}));
    }

    void theSeparatorIsTwoLines() {
        const auto lines = SeparatorCell::Lines::forFrame(QRectF(5, 10, 100, 21));
        QCOMPARE(lines.upper, QRectF(5, 20, 100, 1));
        QCOMPARE(lines.lower, QRectF(5, 21, 100, 1));
        SeparatorCell cell;
        cell.setTitle(text("not shown"));
        const QImage picture = drawn(*cell.copy(), QRectF(5, 10, 100, 21));
        QCOMPARE(inked(picture), QRect(5, 20, 100, 2));
        QCOMPARE(QColor(picture.pixel(50, 21)).green(), 255);
        const QColor upper(picture.pixel(50, 20));
        QVERIFY2(std::abs(upper.red() - 53) <= 1 && std::abs(upper.green() - 92) <= 1, "not 0.6 of its blue");
    }
};

TAVLIN_TEST_MAIN(QApplication, TestCells)
#include "tst_cells.moc"
