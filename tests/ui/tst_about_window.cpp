// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"
#include "ui/TavlinAboutWindowController.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QTextBrowser>

using namespace Qt::StringLiterals;
using platform::Bundle;

class AboutWindowTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() {
        appGlobals = PreferencesDictionary::dictionary();
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
    }

    void showsWhatTheBundleHas_data() {
        QTest::addColumn<QString>("prefix");
        QTest::addColumn<QStringList>("texts");
        QTest::addColumn<QString>("creditsPath");
        const QString built = QStringLiteral(TAVLIN_BUILD_DIR);
        QTest::newRow("whole") << built << QStringList({u"Über Tavlin"_s, u"&Spenden…"_s, u"Zur Home&page"_s})
                               << built + u"/share/tavlin/Credits.html"_s;
        QTest::newRow("empty") << QDir::homePath() << QStringList({{}, {}, {}}) << u"(null)"_s;
    }
    void showsWhatTheBundleHas() {
        QFETCH(const QString, prefix);
        QFETCH(const QString, creditsPath);
        LogLines log;
        TavlinAboutWindowController controller(u"AboutWindow"_s, nullptr, Bundle(prefix, {u"de"_s}));
        const QWidget& window = *controller.window();
        const auto title = [&window](const char* name) {
            return window.findChild<QPushButton*>(QString::fromLatin1(name))->text();
        };
        QTEST(QStringList({window.windowTitle(), title("_donateButton"), title("_goToHomeButton")}), "texts");
        const QString version = window.findChild<QLabel*>(u"_aboutTextField"_s)->text();
        QVERIFY(version.startsWith(u"Tavlin " TAVLIN_VERSION));
        const QString credits = window.findChild<QTextBrowser*>(u"_aboutTextView"_s)->toPlainText();
        QCOMPARE(credits.contains(u"Exiv2, metadata\nGNU GPL 2 or later"), window.windowTitle() != u"");

        controller.close();
        QVERIFY(!window.isVisible());
        QStringList lines = log.taken().filter(u"-[TavlinAboutWindowController "_s);
        lines.replaceInStrings(QRegularExpression(u"^\\S+ (\\w)\\w+\\S* \\(\\d+\\)|0x\\w+"_s), u"\\1"_s);
        QCOMPARE(lines, QStringList({u"i: nibName: AboutWindow"_s, u"i: window: "_s,
                                     u"i: _aboutTextField: "_s, u"i: aboutTextField: "_s + version,
                                     u"i: creditsPath: "_s + creditsPath, u"w: Yo!"_s}));
    }

    /// In a browser that writes down what it is given.
    void buttonsOpenAddresses() {
        const LogLines log;
        const TavlinAboutWindowController controller(u"AboutWindow"_s, nullptr);
        const QString programs = qEnvironmentVariable("XDG_DATA_HOME") + u"/applications"_s;
        const QString opened = QDir::homePath() + u"/opened"_s;
        const auto press = [&controller](const char* name) {
            controller.window()->findChild<QPushButton*>(QString::fromLatin1(name))->click();
        };
        const auto answer = [&opened] {
            QFile file(opened);
            return file.open(QFile::ReadOnly) ? QString::fromLatin1(file.readAll()) : QString();
        };
        QVERIFY(QDir().mkpath(programs));
        QFile browser(programs + u"/browser.desktop"_s);
        QVERIFY(browser.open(QFile::WriteOnly));
        browser.write(
            "[Desktop Entry]\nType=Application\nName=Browser\n"
            "MimeType=x-scheme-handler/http;x-scheme-handler/https;\n"
            "Exec=sh -c 'printf %%s \"$0\" > \"" +
            QFile::encodeName(opened) + "\"' %u\n");
        browser.close();
        QFile defaults(programs + u"/mimeapps.list"_s);
        QVERIFY(defaults.open(QFile::WriteOnly));
        defaults.write(
            "[Default Applications]\nx-scheme-handler/http=browser.desktop\n"
            "x-scheme-handler/https=browser.desktop\n");
        defaults.close();
        const QString host = u"://[a-z.]+"_s;
        for (const auto& [button, form] :
             {std::pair("_goToHomeButton", u"http"_s + host + u"/t/r\\.php\\?u=Tavlin"_s),
              std::pair("_donateButton", u"https"_s + host +
                                             u"/xclick/business=[a-z.]+%40[a-z.]+&item_name=Tavlin"
                                             "&item_number=Tavlin&no_note=1&tax=0&currency_code=EUR"_s)}) {
            press(button);
            QTRY_VERIFY2(
                QRegularExpression(QRegularExpression::anchoredPattern(form)).match(answer()).hasMatch(),
                qPrintable(answer()));
        }
        QVERIFY(controller.window()->isVisible());
    }
};

TAVLIN_TEST_MAIN(QApplication, AboutWindowTest)
#include "tst_about_window.moc"
