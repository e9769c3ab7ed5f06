// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/DecodeThreads.h"
#include "platform/views/ImageView.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/LogLines.h"
#include "testing/TestMain.h"
#include "viewer/ImageWindow.h"
#include "viewer/ImageWindowController.h"
#include "viewer/MetadataSection.h"

#include <QApplication>
#include <QImage>
#include <QPlainTextEdit>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using platform::PropertyDictionary;
using platform::PropertyValue;

namespace {

PropertyValue arrayOf(PropertyValue::ArrayKind kind) {
    return PropertyValue::Array{{PropertyValue(u"a"_s), PropertyValue(2)}, kind};
}

}  // namespace

/// The image window: its texts, and the picture in it.
class ImageWindowTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() {
        platform::DecoderProcess::setInstalledProgram(
            QStringLiteral(TAVLIN_BUILD_DIR "/libexec/tavlin/tavlin-decoder"));
        appGlobals = PreferencesDictionary::dictionary();
        appGlobals->plausibilitaetsTest();
        _picture = _folder.filePath(u"a[*].png"_s);
        QImage image(3000, 2000, QImage::Format_RGB32);
        image.fill(QColor(10, 200, 30));
        QVERIFY(image.save(_picture));
    }

    void layout() {
        for (const auto& [keyLength, blanks] : {std::pair(5, 27), {31, 1}, {32, 0}, {40, 0}})
            QCOMPARE(metadataSectionText(MetadataSection::general,
                                         {{QString(keyLength, u'k'), PropertyValue(2.8)}}),
                     u"General metadata:\n\n"_s + QString(keyLength, u'k') + u':' + QString(blanks, u' ') +
                         u"2.8\n"_s);
    }

    void valuesByClass_data() {
        // expected: general, IPTC, EXIF; empty: left out
        const Table<PropertyValue, QStringList> columns("value", "expected");
        const auto row = [](const char* name, const PropertyValue& value, const QString& expected = u"||"_s) {
            QTest::newRow(name) << value << expected.split(u'|');
        };
        row("text", u"x"_s, u"x|x|x"_s);
        row("integer", 6000, u"6000|6000|6000"_s);
        row("fraction", 0.004, u"0.004|0.004|0.004"_s);
        row("NSCFArray", arrayOf(PropertyValue::ArrayKind::ordinary), u"|a, 2|"_s);
        row("NSArray", arrayOf(PropertyValue::ArrayKind::plain), u"||a, 2"_s);
        row("boolean", PropertyValue::Boolean{true});
        row("date", QDateTime::currentDateTime());
        row("data", QByteArray("x"));
        row("dictionary", PropertyValue::Dictionary{});
        row("nothing", PropertyValue());
    }
    void valuesByClass() {
        QFETCH(PropertyValue, value);
        QFETCH(QStringList, expected);
        const QStringList headings{u"General metadata:\n\n"_s, u"IPTC meta data:\n\n"_s,
                                   u"EXIF meta data:\n\n"_s};
        for (int i = 0; i < 3; ++i) {
            const QString line = u"Key:"_s + QString(29, u' ') + expected.at(i) + u'\n';
            QCOMPARE(metadataSectionText(MetadataSection(i), {{u"Key"_s, value}}),
                     headings.at(i) + (expected.at(i).isEmpty() ? QString() : line));
        }
    }

    void printSummary() {
        const std::pair<QString, QString> sections[]{
            {PreferenceKeys::printGeneralMetadata, u"\n\nGeneral metadata:\n\n"_s},
            {PreferenceKeys::printIPTCMetadata, u"\n\nIPTC meta data:\n\n"_s},
            {PreferenceKeys::printEXIFMetadata, u"\n\nEXIF meta data:\n\n"_s}};
        for (int chosen = 0; chosen < 8; ++chosen) {
            const QString path = _folder.filePath(u"there is none"_s);
            QString expected = path;
            for (int i = 0; i < 3; ++i) {
                const bool isChosen = (chosen >> i & 1) != 0;
                appGlobals->setObjectForKey(isChosen, sections[i].first);
                expected += isChosen ? sections[i].second : QString();
            }
            const ImageWindowController controller(u"ImageWindow"_s, this, path);
            for (const auto& section : sections)  // too late to matter
                appGlobals->setObjectForKey((chosen & 1) == 0, section.first);
            QTRY_COMPARE(controller.metaDataPrintSummary(), expected);
        }
    }

    void theWholeWindow() {
        ImageWindowController controller(u"ImageWindow"_s, this, _picture);
        auto* window = qobject_cast<ImageWindow*>(controller.window());
        QVERIFY(window != nullptr && window->isVisible());
        QCOMPARE(window->windowTitle(), u"a[*][*].png"_s);
        QTRY_VERIFY(
            window->textView().toPlainText().contains(u"PixelWidth:"_s + QString(22, u' ') + u"3000\n"_s));
        QCOMPARE(controller.metaDataSummary(), _picture + u"\n\n"_s + window->textView().toPlainText());
        QCOMPARE(window->textView().font().pointSizeF(), 9.0);
        QTRY_COMPARE(window->imageView().pictureGeometry().pictureSize(), QSize(3000, 2000));

        LogLines log;
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
        QSignalSpy closed(&controller, &ImageWindowController::windowWillClose);
        QTest::keyClick(window, Qt::Key_Escape);
        QTRY_COMPARE(closed.count(), 1);
        appGlobals->setObjectForKey(false, PreferenceKeys::debugLogging);
        QVERIFY(log.taken().join(u'\n').contains(u"-[ImageWindowController windowWillClose:] ("_s));
        QVERIFY(!window->isVisible());
    }

    void noPicture_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("text") << QByteArray("no picture");
        QTest::newRow("signature alone") << QByteArray("\x89PNG\r\n\x1a\n");
        QTest::newRow("start of a JPEG") << QByteArray(
            "\xff\xd8\xff\xe1\xff\xff"
            "Exif\0\0II*\0\xff\xff\xff\x7f",
            20);
        QTest::newRow("no file") << QByteArray();
    }
    void noPicture() {
        QFETCH(QByteArray, content);
        QFile file(_folder.filePath(u"none.png"_s));
        QVERIFY(content.isNull() ? file.remove() : file.open(QFile::WriteOnly) && file.write(content) >= 0);
        file.close();
        const ImageWindowController controller(u"ImageWindow"_s, this, file.fileName());
        const auto* window = qobject_cast<ImageWindow*>(controller.window());
        QTRY_VERIFY_WITH_TIMEOUT(window->imageView().isBroken(), 20000);
        QCOMPARE(window->textView().toPlainText(),
                 u"General metadata:\n\n\n\nIPTC meta data:\n\n\n\nEXIF meta data:\n\n"_s);
    }

    void logLines() {
        appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
        LogLines log;
        metadataSectionText(MetadataSection::exif, {{QString(40, u'k'), PropertyValue(2)}});
        appGlobals->setObjectForKey(false, PreferenceKeys::debugLogging);
        QStringList texts;
        for (const QString& line : log.taken())
            texts += line.mid(line.indexOf(u"): "_s) + 3);
        QCOMPARE(texts, QStringList({u"prop: 2"_s, u"prop 2 is of class NSCFNumber"_s, u"fillerLength: -8"_s,
                                     u"filler length: 0"_s}));
    }

 private:
    QTemporaryDir _folder;
    QString _picture;
};

TAVLIN_TEST_MAIN(QApplication, ImageWindowTest)
#include "tst_image_window.moc"
