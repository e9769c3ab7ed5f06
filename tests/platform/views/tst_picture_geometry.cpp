// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/views/PictureGeometry.h"
#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QTest>

using platform::PictureGeometry;

/// Where a picture lies, without anything being painted.
class PictureGeometryTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void fits_data();
    void fits();
    void zoomKeepsThePointUnderThePointer();
    void zoomStopsAtTheExactScaleAndAtItsBounds();
    void noEdgeIsBare();
    void resizing();
};

void PictureGeometryTest::fits_data() {
    QTest::addColumn<QSize>("picture");
    QTest::addColumn<QSize>("view");
    QTest::addColumn<QRectF>("expected");
    QTest::newRow("wide") << QSize(2000, 1000) << QSize(500, 500) << QRectF(0, 125, 500, 250);
    QTest::newRow("high") << QSize(1000, 2000) << QSize(500, 500) << QRectF(125, 0, 250, 500);
    QTest::newRow("small ones are not enlarged")
        << QSize(10, 20) << QSize(500, 500) << QRectF(245, 240, 10, 20);
    QTest::newRow("odd rest, whole pixels") << QSize(11, 20) << QSize(500, 500) << QRectF(245, 240, 11, 20);
    QTest::newRow("no room") << QSize(11, 20) << QSize(0, 0) << QRectF(0, 0, 11, 20);
}

void PictureGeometryTest::fits() {
    QFETCH(QSize, picture);
    QFETCH(QSize, view);
    QFETCH(QRectF, expected);
    PictureGeometry geometry;
    geometry.setPictureSize(picture);
    geometry.setViewSize(view);
    QCOMPARE(geometry.pictureRect(), expected);
    QVERIFY(geometry.isFitting());
    QCOMPARE(geometry.isPannable(), view.isEmpty());
}

void PictureGeometryTest::zoomKeepsThePointUnderThePointer() {
    PictureGeometry geometry;
    geometry.setPictureSize({4000, 3000});
    geometry.setViewSize({800, 600});
    const QPointF pointer(200, 450);
    const auto pictured = [&] {
        return (pointer - geometry.pictureRect().topLeft()) / geometry.scale();
    };
    const QPointF before = pictured();
    for (int i = 0; i < 12; ++i)
        geometry.zoom(1.25, pointer);
    const QPointF moved = pictured() - before;
    QVERIFY2(qAbs(moved.x()) < 4 && qAbs(moved.y()) < 4, "the point wanders");
    geometry.toggleFit(pointer);
    QCOMPARE(geometry.pictureRect(), QRectF(0, 0, 800, 600));
    geometry.toggleFit(pointer);
    QCOMPARE(geometry.scale(), 1.0);
    QCOMPARE(pictured(), before);
}

void PictureGeometryTest::zoomStopsAtTheExactScaleAndAtItsBounds() {
    PictureGeometry geometry;
    geometry.setPictureSize({4000, 3000});
    geometry.setViewSize({800, 600});
    geometry.setScale(0.9, {});
    geometry.zoom(1.25, {});
    QCOMPARE(geometry.scale(), 1.0);
    geometry.zoom(1.25, {});
    QCOMPARE(geometry.scale(), 1.25);
    geometry.zoom(0.5, {});
    QCOMPARE(geometry.scale(), 1.0);
    geometry.zoom(1e9, {});
    QCOMPARE(geometry.scale(), PictureGeometry::maximumScale);
    geometry.zoom(1e-9, {});
    geometry.zoom(1e-9, {});
    QVERIFY(geometry.isFitting());
    QCOMPARE(geometry.scale(), 0.2);
}

void PictureGeometryTest::noEdgeIsBare() {
    PictureGeometry geometry;
    geometry.setPictureSize({1000, 500});
    geometry.setViewSize({800, 600});
    geometry.setScale(1, {400, 300});
    for (const QPointF distance : {QPointF(5000, 5000), QPointF(-5000, -5000)}) {
        geometry.pan(distance);
        const QRectF rect = geometry.pictureRect();
        QVERIFY(rect.left() <= 0 && rect.right() >= 800);
        QCOMPARE(rect.top(), 50.0);
        QCOMPARE(rect.topLeft(), QPointF(rect.topLeft().toPoint()));
    }
}

void PictureGeometryTest::resizing() {
    PictureGeometry geometry;
    geometry.setPictureSize({4000, 3000});
    geometry.setViewSize({800, 600});
    geometry.setViewSize({400, 300});
    QCOMPARE(geometry.scale(), 0.1);
    geometry.setScale(1, {200, 150});
    const QPointF middle = QPointF(200, 150) - geometry.pictureRect().topLeft();
    geometry.setViewSize({600, 500});
    QCOMPARE(QPointF(300, 250) - geometry.pictureRect().topLeft(), middle);
    geometry.setViewSize({8000, 6000});
    QVERIFY(geometry.isFitting());
}

TAVLIN_TEST_MAIN(QCoreApplication, PictureGeometryTest)
#include "tst_picture_geometry.moc"
