// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ImageWindowOpener.h"
#include "testing/Table.h"
#include "testing/TestMain.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QWidget>

namespace {

QStringList openPaths;

class FakeController : public platform::WindowController {
 public:
    explicit FakeController(const QString& path) : _path(path) { openPaths += path; }
    ~FakeController() override { openPaths.removeOne(_path); }
    QWidget* window() const override { return nullptr; }

 private:
    const QString _path;
};

}  // namespace

/// Many image windows at once.
class ImageWindowOpenerTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void oneATurnUntilEscape() {
        QWidget front;
        ImageWindowOpener opener;
        platform::WindowController* first = nullptr;
        platform::InterfaceDescriptions::shared().add(
            QStringLiteral("Fake"), [&](const platform::WindowRequest& request) {
                auto controller = std::make_unique<FakeController>(request.imagePath);
                first = first == nullptr ? controller.get() : first;
                if (openPaths.size() == 3)
                    QTest::keyClick(&front, Qt::Key_Escape);
                return controller;
            });
        for (int i = 0; i < 10; ++i)
            opener.open(QStringLiteral("Fake"), opener, QString::number(i));
        QVERIFY(openPaths.isEmpty());
        for (qsizetype before = 0; before < 3; before = openPaths.size()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            QVERIFY(openPaths.size() <= before + 1);
        }

        opener.open(QStringLiteral("unknown"), opener, QStringLiteral("x"));
        opener.open(QStringLiteral("Fake"), opener, QStringLiteral("y"));
        QTRY_COMPARE(openPaths.constLast(), QStringLiteral("y"));
        QCOMPARE(openPaths.size(), 4);
        Q_EMIT first->windowWillClose();
        QTRY_COMPARE(openPaths.size(), 3);
    }
    void asksBeforeVeryMany_data() {
        const Table<bool, int> row("goesOn", "opened");
        row("go on", true, ImageWindowOpener::mostUnasked + 5);
        row("cancel", false, ImageWindowOpener::mostUnasked + 1);
    }
    void asksBeforeVeryMany() {
        QFETCH(const bool, goesOn);
        platform::InterfaceDescriptions::shared().add(
            QStringLiteral("Fake"), [](const platform::WindowRequest& request) {
                return std::make_unique<FakeController>(request.imagePath);
            });
        ImageWindowOpener opener;
        for (int i = 0; i < ImageWindowOpener::mostUnasked + 4; ++i)
            opener.open(QStringLiteral("Fake"), opener, QString::number(i));
        QTRY_VERIFY(QApplication::activeModalWidget() != nullptr);
        QCOMPARE(openPaths.size(), ImageWindowOpener::mostUnasked);
        opener.open(QStringLiteral("Fake"), opener, QStringLiteral("one more"));
        QTRY_COMPARE(openPaths.constLast(), QStringLiteral("one more"));
        auto* question = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        const auto buttons = question->buttons();
        const auto goOn = std::find_if(buttons.begin(), buttons.end(), [question](QAbstractButton* button) {
            return question->buttonRole(button) == QMessageBox::AcceptRole;
        });
        if (goesOn)
            (*goOn)->click();
        else
            QTest::keyClick(question, Qt::Key_Escape);
        QTRY_VERIFY(QApplication::activeModalWidget() == nullptr);
        for (int turn = 0; turn < 20; ++turn)
            QCoreApplication::processEvents();
        QTEST(int(openPaths.size()), "opened");
    }
    void cleanup() { QVERIFY2(openPaths.isEmpty(), "a window outlives the opener"); }
};

TAVLIN_TEST_MAIN(QApplication, ImageWindowOpenerTest)
#include "tst_image_window_opener.moc"
