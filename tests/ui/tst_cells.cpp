// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"
#include "ui/ImageAndTextCell.h"
#include "ui/SeparatorCell.h"

#include <QApplication>
#include <QLineEdit>
#include <QPainter>
#include <QTest>

using platform::CellContext;
using platform::CellHit;
using platform::Image;
using platform::ImageRef;

namespace {

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
QImage drawn(platform::TextFieldCell& cell, QRectF frame, qreal ratio = 1, const CellContext& context = {}) {
    QImage picture((QSizeF(200, 60) * ratio).toSize(), QImage::Format_RGB32);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::blue);
    QPainter painter(&picture);
    cell.drawWithFrameInView(frame, painter, context);
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
    void geometry_data();
    void geometry();
    void imagesAreResizedForEveryHolder();
    void sizesAndEditingLeaveRoomForTheImage();
    void whatIsDrawn_data();
    void whatIsDrawn();
    void iconsAreSharp_data();
    void iconsAreSharp();
    void rightToLeftIsTheMirrorImage();
    void theSeparatorIsTwoLines();
};

void TestCells::geometry_data() {
    QTest::addColumn<QRectF>("frame");
    QTest::addColumn<QSizeF>("image");
    QTest::addColumn<bool>("isFlipped");
    QTest::addColumn<QPointF>("imagePoint");
    QTest::addColumn<QRectF>("imageFrame");
    QTest::addColumn<QRectF>("textFrame");
    const QSizeF icon(16, 16);
    QTest::newRow("row of 20") << QRectF(0, 0, 100, 20) << icon << true << QPointF(3, 17)
                               << QRectF(3, 1, 16, 16) << QRectF(21, 1, 81, 16);
    QTest::newRow("elsewhere, rounded up") << QRectF(10, 40, 100, 21) << icon << true << QPointF(13, 58)
                                           << QRectF(13, 42, 16, 16) << QRectF(31, 41, 81, 17);
    QTest::newRow("not flipped") << QRectF(0, 0, 100, 21) << icon << false << QPointF(3, 2)
                                 << QRectF(3, 2, 16, 16) << QRectF(21, 1, 81, 17);
    QTest::newRow("no image") << QRectF(0, 0, 100, 20) << QSizeF(0, 0) << true << QPointF(3, 9)
                              << QRectF(3, 9, 0, 0) << QRectF(5, 1, 97, 16);
}

void TestCells::geometry() {
    QFETCH(QRectF, frame);
    QFETCH(QSizeF, image);
    QFETCH(bool, isFlipped);
    const auto lies = ImageAndTextGeometry::forFrame(frame, image, isFlipped);
    QTEST(lies.imagePoint, "imagePoint");
    QTEST(lies.imageFrame, "imageFrame");
    QTEST(lies.textFrame, "textFrame");
}

void TestCells::imagesAreResizedForEveryHolder() {
    const auto image = std::make_shared<Image>(chequeredIcon(), QSizeF(32, 32));
    ImageAndTextCell cell;
    LogLines log;
    cell.setImage(image);
    QCOMPARE(image->size(), QSizeF(16, 16));
    image->setSize(QSizeF(64, 64));
    cell.setImage(image);
    QCOMPARE(image->size(), QSizeF(64, 64));
    const auto copy = cell.copy();
    QCOMPARE(dynamic_cast<ImageAndTextCell&>(*copy).image(), image);
    const QStringList lines = log.taken();
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines[0], lines[1]);
    QVERIFY(lines[0].startsWith(QLatin1String("-[ImageAndTextCell setImage:] (105): Foo, imagep: 0x")));
}

void TestCells::sizesAndEditingLeaveRoomForTheImage() {
    ImageAndTextCell cell;
    cell.setTitle(QStringLiteral("Pictures"));
    const QSizeF plain = static_cast<platform::TextFieldCell&>(cell).TextFieldCell::cellSize();
    QCOMPARE(cell.cellSize(), plain + QSizeF(3, 0));
    QVERIFY(cell.isGroupCell());
    cell.setImage(std::make_shared<Image>(chequeredIcon()));
    QCOMPARE(cell.cellSize(), plain + QSizeF(19, 0));
    QVERIFY(!cell.isGroupCell());
    QCOMPARE(cell.hitTestForEventInRectOfView(QPointF(-1, 900), QRectF(0, 0, 5, 5)), CellHit::contentArea);

    QLineEdit editor;
    cell.selectWithFrameInViewEditorStartLength(QRectF(0, 0, 100, 20), editor, 2, 3);
    QCOMPARE(editor.geometry(), QRect(21, 1, 81, 16));
    QCOMPARE(editor.selectedText(), QStringLiteral("ctu"));
    cell.editWithFrameInViewEditor(QRectF(0, 20, 100, 20), editor);
    QCOMPARE(editor.geometry(), QRect(21, 21, 81, 16));
    QVERIFY(!editor.hasSelectedText());

    SeparatorCell separator;
    separator.selectWithFrameInViewEditorStartLength(QRectF(0, 0, 1, 1), editor, 0, 1);
    QCOMPARE(editor.geometry(), QRect(21, 21, 81, 16));
}

void TestCells::whatIsDrawn_data() {
    QTest::addColumn<bool>("hasImage");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QStringList>("messages");
    QTest::addColumn<bool>("drawsAtTheEdge");
    const auto lines = [](std::initializer_list<const char*> between) {
        QStringList all{
            QStringLiteral("(181): Start"),
            QStringLiteral("(185): system font size is: %1")
                .arg(static_cast<double>(platform::TextFieldCell::smallSystemFontSize()), 0, 'f', 6)};
        for (const char* line : between)
            all.append(QLatin1String(line));
        return all << QStringLiteral("(232): End");
    };
    QTest::newRow("image and title") << true << QStringLiteral("MMM")
                                     << lines({"(191): Image wasn't nil. Drawing image."}) << false;
    QTest::newRow("group") << false << QStringLiteral("MMM")
                           << lines({"(217): Image was nil.", "(220): isGroupCell"}) << true;
    QTest::newRow("neither") << false << QString()
                             << lines({"(217): Image was nil.", "(229): not isGroupCell"}) << false;
}

void TestCells::whatIsDrawn() {
    QFETCH(bool, hasImage);
    QFETCH(QString, title);
    QFETCH(QStringList, messages);
    QFETCH(bool, drawsAtTheEdge);
    ImageAndTextCell cell;
    cell.setTitle(title);
    if (hasImage)
        cell.setImage(std::make_shared<Image>(chequeredIcon()));
    LogLines log;
    const QRect ink = inked(drawn(cell, QRectF(10, 10, 100, 20)));
    for (QString& message : messages)
        message.prepend(QLatin1String("-[ImageAndTextCell drawWithFrame:inView:] "));
    QCOMPARE(log.taken(), messages);
    QCOMPARE(ink.isEmpty(), !hasImage && title.isEmpty());
    if (hasImage) {
        QCOMPARE(ink.topLeft(), QPoint(13, 11));
        QVERIFY2(ink.right() > 31, "no text beside the icon");
    }
    if (drawsAtTheEdge) {
        QVERIFY(ink.left() < 14);
        QVERIFY2(std::abs(ink.center().y() - 19) <= 2, "not in the middle of the row");
    }
}

void TestCells::iconsAreSharp_data() {
    QTest::addColumn<qreal>("ratio");
    for (const qreal ratio : {1.0, 1.5, 2.0})
        QTest::addRow("%.1f", ratio) << ratio;
}

void TestCells::iconsAreSharp() {
    QFETCH(qreal, ratio);
    ImageAndTextCell cell;
    cell.setImage(std::make_shared<Image>(chequeredIcon()));
    const QImage picture = drawn(cell, QRectF(10, 11, 100, 20), ratio);
    const int pixels = static_cast<int>(16 * ratio);
    const QRect ink = inked(picture);
    QCOMPARE(ink.size(), QSize(pixels, pixels));
    for (int x = ink.left(); x <= ink.right(); ++x)
        for (int y = ink.top(); y <= ink.bottom(); ++y)
            QCOMPARE(qGray(picture.pixel(x, y)), (x - ink.left() + y - ink.top()) % 2 == 0 ? 0 : 255);
}

void TestCells::rightToLeftIsTheMirrorImage() {
    ImageAndTextCell cell;
    cell.setImage(std::make_shared<Image>(chequeredIcon()));
    CellContext context;
    context.direction = Qt::RightToLeft;
    QCOMPARE(inked(drawn(cell, QRectF(10, 10, 100, 20), 1, context)), QRect(91, 11, 16, 16));
    cell.setTitle(QStringLiteral("MMM"));
    const QRect ink = inked(drawn(cell, QRectF(10, 10, 100, 20), 1, context));
    QCOMPARE(ink.right(), 106);
    QVERIFY2(ink.left() > 40 && ink.left() < 80, "the text does not stand beside the icon");
}

void TestCells::theSeparatorIsTwoLines() {
    const auto lines = SeparatorCell::Lines::forFrame(QRectF(5, 10, 100, 21));
    QCOMPARE(lines.upper, QRectF(5, 20, 100, 1));
    QCOMPARE(lines.lower, QRectF(5, 21, 100, 1));
    SeparatorCell cell;
    cell.setTitle(QStringLiteral("not shown"));
    const QImage picture = drawn(*cell.copy(), QRectF(5, 10, 100, 21));
    QCOMPARE(inked(picture), QRect(5, 20, 100, 2));
    QCOMPARE(QColor(picture.pixel(50, 21)).green(), 255);
    const QColor upper(picture.pixel(50, 20));
    QVERIFY2(std::abs(upper.red() - 53) <= 1 && std::abs(upper.green() - 92) <= 1, "not 0.6 of its blue");
}

TAVLIN_TEST_MAIN(QApplication, TestCells)
#include "tst_cells.moc"
