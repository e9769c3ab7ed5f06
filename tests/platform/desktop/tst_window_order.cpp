// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/WindowOrder.h"

#include "testing/TestHome.h"

#include <QApplication>
#include <QDialog>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

class TestWindowOrder : public QObject {
    Q_OBJECT

    using Windows = QList<QWidget*>;

 private Q_SLOTS:
    void frontmostComesFirst() {
        const platform::WindowOrder order(*qApp);
        QSignalSpy changed(&order, &platform::WindowOrder::changed);
        QWidget first;
        QWidget second;
        first.show();
        QVERIFY(QTest::qWaitForWindowActive(&first));
        second.show();
        QVERIFY(QTest::qWaitForWindowActive(&second));
        QCOMPARE(order.windows(), Windows({&second, &first}));
        QCOMPARE(changed.size(), 2);

        first.activateWindow();
        QTRY_COMPARE(order.windows(), Windows({&first, &second}));
        first.close();
        QCOMPARE(order.windows(), Windows({&second}));
        QCOMPARE(changed.size(), 4);
        first.show();
        QCOMPARE(order.windows(), Windows({&first, &second}));
    }

    void destroyedWindowsAreForgotten() {
        const platform::WindowOrder order(*qApp);
        auto window = std::make_unique<QWidget>();
        window->show();
        QCOMPARE(order.windows(), Windows({window.get()}));
        window.reset();
        QVERIFY(order.windows().isEmpty());
    }

    void popUpsAndSheetsDoNotCount() {
        const platform::WindowOrder order(*qApp);
        QWidget window;
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QDialog ofWindow(&window);
        ofWindow.show();
        QDialog sheet;
        sheet.setWindowModality(Qt::ApplicationModal);
        sheet.show();
        QCOMPARE(order.windows(), Windows({&window}));
        sheet.close();
        ofWindow.close();
        QWidget toolTip(nullptr, Qt::ToolTip);
        toolTip.show();
        QMenu menu;
        menu.addAction(u"Open"_s);
        menu.popup(QPoint(5, 5));
        QVERIFY(menu.isVisible());
        QCOMPARE(order.windows(), Windows({&window}));
        menu.close();

        QDialog ofItsOwn;
        ofItsOwn.show();
        QCOMPARE(order.windows(), Windows({&ofItsOwn, &window}));
    }
};

TAVLIN_TEST_MAIN(QApplication, TestWindowOrder)
#include "tst_window_order.moc"
