// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/DecodeThreads.h"
#include "platform/views/ImageView.h"
#include "settings/PreferenceKeys.h"
#include "settings/PreferencesDictionary.h"
#include "testing/LogLines.h"
#include "testing/TestHome.h"
#include "viewer/ImageWindow.h"
#include "viewer/ImageWindowController.h"
#include "viewer/MetadataSection.h"

#include <QApplication>
#include <QImage>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QTest>

using platform::PropertyDictionary;
using platform::PropertyValue;

namespace {

PropertyValue arrayOf(PropertyValue::ArrayKind kind) {
    return PropertyValue::Array{{PropertyValue(QStringLiteral("a")), PropertyValue(2)}, kind};
}

}  // namespace

/// The image window: its texts, and the picture in it.
class ImageWindowTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase();
    void layout_data();
    void layout();
    void valuesByClass_data();
    void valuesByClass();
    void printSummary_data();
    void printSummary();
    void theWholeWindow();
    void noPicture_data();
    void noPicture();
    void logLines();

 private:
    QTemporaryDir _folder;
    QString _picture;
};

void ImageWindowTest::initTestCase() {
    platform::DecoderProcess::setInstalledProgram(
        QStringLiteral(TAVLIN_BUILD_DIR "/libexec/tavlin/tavlin-decoder"));
    appGlobals = PreferencesDictionary::dictionary();
    appGlobals->plausibilitaetsTest();
    _picture = _folder.filePath(QStringLiteral("a[*].png"));
    QImage image(3000, 2000, QImage::Format_RGB32);
    image.fill(QColor(10, 200, 30));
    QVERIFY(image.save(_picture));
}

void ImageWindowTest::layout_data() {
    QTest::addColumn<int>("keyLength");
    QTest::addColumn<int>("blanks");
    QTest::newRow("5") << 5 << 27;
    QTest::newRow("31") << 31 << 1;
    QTest::newRow("32") << 32 << 0;
    QTest::newRow("longer than the column") << 40 << 0;
}

void ImageWindowTest::layout() {
    QFETCH(int, keyLength);
    QFETCH(int, blanks);
    const QString key(keyLength, u'k');
    QCOMPARE(metadataSectionText(MetadataSection::general, {{key, PropertyValue(2.8)}}),
             QStringLiteral("General metadata:\n\n") + key + u':' + QString(blanks, u' ') +
                 QStringLiteral("2.8\n"));
}

void ImageWindowTest::valuesByClass_data() {
    QTest::addColumn<PropertyValue>("value");
    QTest::addColumn<QStringList>("expected");  // general, IPTC, EXIF; empty: left out
    const auto row = [](const char* name, const PropertyValue& value, const char* general, const char* iptc,
                        const char* exif) {
        QTest::newRow(name) << value
                            << QStringList{QString::fromLatin1(general), QString::fromLatin1(iptc),
                                           QString::fromLatin1(exif)};
    };
    row("text", QStringLiteral("x"), "x", "x", "x");
    row("integer", 6000, "6000", "6000", "6000");
    row("fraction", 0.004, "0.004", "0.004", "0.004");
    row("NSCFArray", arrayOf(PropertyValue::ArrayKind::ordinary), "", "a, 2", "");
    row("NSArray", arrayOf(PropertyValue::ArrayKind::plain), "", "", "a, 2");
    row("boolean", PropertyValue::Boolean{true}, "", "", "");
    row("date", QDateTime::currentDateTime(), "", "", "");
    row("data", QByteArray("x"), "", "", "");
    row("dictionary", PropertyValue::Dictionary{}, "", "", "");
    row("nothing", PropertyValue(), "", "", "");
}

void ImageWindowTest::valuesByClass() {
    QFETCH(PropertyValue, value);
    QFETCH(QStringList, expected);
    const QStringList headings{QStringLiteral("General metadata:\n\n"), QStringLiteral("IPTC meta data:\n\n"),
                               QStringLiteral("EXIF meta data:\n\n")};
    for (int i = 0; i < 3; ++i) {
        const QString line = QStringLiteral("Key:") + QString(29, u' ') + expected.at(i) + u'\n';
        QCOMPARE(metadataSectionText(MetadataSection(i), {{QStringLiteral("Key"), value}}),
                 headings.at(i) + (expected.at(i).isEmpty() ? QString() : line));
    }
}

void ImageWindowTest::printSummary_data() {
    QTest::addColumn<int>("chosen");
    for (int chosen = 0; chosen < 8; ++chosen)
        QTest::addRow("%d%d%d", chosen & 1, chosen >> 1 & 1, chosen >> 2) << chosen;
}

void ImageWindowTest::printSummary() {
    QFETCH(int, chosen);
    const QStringList keys{PreferenceKeys::printGeneralMetadata, PreferenceKeys::printIPTCMetadata,
                           PreferenceKeys::printEXIFMetadata};
    const QStringList headings{QStringLiteral("\n\nGeneral metadata:\n\n"),
                               QStringLiteral("\n\nIPTC meta data:\n\n"),
                               QStringLiteral("\n\nEXIF meta data:\n\n")};
    const QString path = _folder.filePath(QStringLiteral("there is none"));
    QString expected = path;
    for (int i = 0; i < 3; ++i) {
        const bool isChosen = (chosen >> i & 1) != 0;
        appGlobals->setObjectForKey(isChosen, keys.at(i));
        expected += isChosen ? headings.at(i) : QString();
    }
    const ImageWindowController controller(QStringLiteral("ImageWindow"), this, path);
    for (const QString& key : keys)  // too late to matter
        appGlobals->setObjectForKey((chosen & 1) == 0, key);
    QTRY_COMPARE(controller.metaDataPrintSummary(), expected);
}

void ImageWindowTest::theWholeWindow() {
    ImageWindowController controller(QStringLiteral("ImageWindow"), this, _picture);
    auto* window = qobject_cast<ImageWindow*>(controller.window());
    QVERIFY(window != nullptr && window->isVisible());
    QCOMPARE(window->windowTitle(), QStringLiteral("a[*][*].png"));
    QTRY_VERIFY(window->textView().toPlainText().contains(QStringLiteral("PixelWidth:") + QString(22, u' ') +
                                                          QStringLiteral("3000\n")));
    QCOMPARE(controller.metaDataSummary(),
             _picture + QStringLiteral("\n\n") + window->textView().toPlainText());
    QCOMPARE(window->textView().font().pointSizeF(), 9.0);
    QTRY_COMPARE(window->imageView().pictureGeometry().pictureSize(), QSize(3000, 2000));

    LogLines log;
    appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
    QSignalSpy closed(&controller, &ImageWindowController::windowWillClose);
    QTest::keyClick(window, Qt::Key_Escape);
    QTRY_COMPARE(closed.count(), 1);
    appGlobals->setObjectForKey(false, PreferenceKeys::debugLogging);
    QVERIFY(log.taken().join(u'\n').contains(QStringLiteral("-[ImageWindowController windowWillClose:] (")));
    QVERIFY(!window->isVisible());
}

void ImageWindowTest::noPicture_data() {
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

void ImageWindowTest::noPicture() {
    QFETCH(QByteArray, content);
    QFile file(_folder.filePath(QStringLiteral("none.png")));
    QVERIFY(content.isNull() ? file.remove() : file.open(QFile::WriteOnly) && file.write(content) >= 0);
    file.close();
    const ImageWindowController controller(QStringLiteral("ImageWindow"), this, file.fileName());
    const auto* window = qobject_cast<ImageWindow*>(controller.window());
    QTRY_VERIFY_WITH_TIMEOUT(window->imageView().isBroken(), 20000);
    QCOMPARE(window->textView().toPlainText(),
             QStringLiteral("General metadata:\n\n\n\nIPTC meta data:\n\n\n\nEXIF meta data:\n\n"));
}

void ImageWindowTest::logLines() {
    appGlobals->setObjectForKey(true, PreferenceKeys::debugLogging);
    LogLines log;
    metadataSectionText(MetadataSection::exif, {{QString(40, u'k'), PropertyValue(2)}});
    appGlobals->setObjectForKey(false, PreferenceKeys::debugLogging);
    QStringList texts;
    for (const QString& line : log.taken())
        texts += line.mid(line.indexOf(QStringLiteral("): ")) + 3);
    QCOMPARE(texts, QStringList({QStringLiteral("prop: 2"), QStringLiteral("prop 2 is of class NSCFNumber"),
                                 QStringLiteral("fillerLength: -8"), QStringLiteral("filler length: 0")}));
}

TAVLIN_TEST_MAIN(QApplication, ImageWindowTest)
#include "tst_image_window.moc"
