// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/MainMenu.h"

#include "testing/TestHome.h"

#include <QAction>
#include <QApplication>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QTest>
#include <QVBoxLayout>

#include <stdexcept>

using namespace Qt::StringLiterals;

using platform::MainMenu;
using platform::MenuItem;

class TestMainMenu : public QObject {
    Q_OBJECT

    std::unique_ptr<MainMenu> _menu;
    QStringList _asked;
    QStringList _run;
    bool _hasTarget = true;

    void add(const char* name, const char* keyEquivalent, std::function<bool()> hasTarget = {}) {
        const QString text = QString::fromLatin1(name);
        _menu->addCommand({.name = text,
                           .text = text,
                           .keyEquivalent = QString::fromLatin1(keyEquivalent),
                           .shortcuts = {},
                           .action = [this, text] { _run += text; },
                           .hasTarget = std::move(hasTarget)});
    }

 private Q_SLOTS:
    void init() {
        _menu = std::make_unique<MainMenu>();
        _asked.clear();
        _run.clear();
        _hasTarget = true;
        _menu->setValidator([this](const MenuItem& item) {
            _asked += item.action()->objectName();
            if (item.keyEquivalent() == u"!")
                throw std::runtime_error("no answer");
            return item.keyEquivalent() != u",";
        });
        _menu->addMenu(u"File"_s, u"&File"_s);
        add("print", "p");
        add("broken", "!");
        _menu->addMenu(u"Edit"_s, u"&Edit"_s);
        add("preferences", ",");
        add("selectAll", "a", [this] { return _hasTarget; });
    }

    void everyCommandIsAsked() {
        _menu->validate();
        QCOMPARE(_asked, QStringList({u"print"_s, u"broken"_s, u"preferences"_s, u"selectAll"_s}));
        QVERIFY(_menu->action(u"print"_s)->isEnabled());
        QVERIFY(!_menu->action(u"preferences"_s)->isEnabled());
        QVERIFY2(!_menu->action(u"broken"_s)->isEnabled(), "a validator that throws must disable");
        QVERIFY(_menu->action(u"selectAll"_s)->isEnabled());
        _asked.clear();
        _hasTarget = false;  // then nobody is asked
        _menu->validate();
        QVERIFY(!_asked.contains(u"selectAll"_s));
        QVERIFY(!_menu->action(u"selectAll"_s)->isEnabled());
    }

    void aMenuAsksForItsOwnBeforeItShows() {
        QMainWindow window;
        _menu->attachTo(window);
        window.show();
        QMenu* edit = window.menuBar()->actions().at(1)->menu();
        edit->popup(QPoint(10, 10));
        QCOMPARE(_asked, QStringList({u"preferences"_s, u"selectAll"_s}));
        edit->close();
    }

    void everyWindowCarriesTheMenus() {
        QMainWindow mainWindow;
        QWidget plain;
        new QVBoxLayout(&plain);
        QWidget withoutPlace;
        for (QWidget* window : {static_cast<QWidget*>(&mainWindow), &plain, &withoutPlace, &plain})
            _menu->attachTo(*window);
        const auto bars = [](const QWidget& window) {
            return window.findChildren<QMenuBar*>();
        };
        QCOMPARE(bars(mainWindow).size(), 1);
        QCOMPARE(bars(plain).size(), 1);
        QCOMPARE(bars(withoutPlace).size(), 0);
        QCOMPARE(plain.layout()->menuBar(), bars(plain).constFirst());
        QCOMPARE(bars(plain).constFirst()->actions(), mainWindow.menuBar()->actions());
    }

    /// A shared action must answer its key in whichever window is active, and only once.
    void aShortcutWorksInEachWindow() {
        QMainWindow first;
        QMainWindow second;
        for (QMainWindow* window : {&first, &second}) {
            _menu->attachTo(*window);
            window->show();
        }
        for (QMainWindow* window : {&first, &second}) {
            window->activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(window));
            QTest::keyClick(window, Qt::Key_P, Qt::ControlModifier);
        }
        QCOMPARE(_run, QStringList({u"print"_s, u"print"_s}));
        _menu->validate();
        QTest::keyClick(&second, Qt::Key_Comma, Qt::ControlModifier);
        QCOMPARE(_run.size(), 2);
    }
};

TAVLIN_TEST_MAIN(QApplication, TestMainMenu)
#include "tst_main_menu.moc"
