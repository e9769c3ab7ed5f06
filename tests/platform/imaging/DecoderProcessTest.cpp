// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/FileAccess.h"
#include "platform/imaging/DecoderProcess.h"
#include "testing/TestHome.h"

#include <QCoreApplication>
#include <QImageWriter>
#include <QTest>

#include <signal.h>

using namespace platform;
using namespace std::chrono_literals;

namespace {

const QString kDecoder = QStringLiteral(TAVLIN_BUILD_DIR "/libexec/tavlin/tavlin-decoder");

}  // namespace

/// The supervision of decoders: what the program sees of good ones, dying ones and lying ones.
class DecoderProcessTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase();
    void decodes();

 private:
    QString path(const char* name) const { return _folder.filePath(QString::fromLatin1(name)); }

    QTemporaryDir _folder;
};

void DecoderProcessTest::initTestCase() {
    QImage image(800, 400, QImage::Format_RGB32);
    image.fill(QColor(200, 100, 50));
    QVERIFY(image.save(path("picture.png")));
    QVERIFY(image.save(path("picture.jpg"), "jpeg", 95));
}

void DecoderProcessTest::decodes() {
    DecoderProcess process(kDecoder);
    const auto file = openRegularFile(path("picture.jpg"));
    const auto result = process.decode({DecodeRequest::Kind::thumbnail, file.get(), 256}, 10s);
    const auto* picture = std::get_if<DecodedPicture>(&result);
    QVERIFY(picture);
    QCOMPARE(picture->image.size(), QSize(256, 128));
    QCOMPARE(picture->fullSize, QSize(800, 400));
    QVERIFY(qAbs(qRed(picture->image.pixel(128, 64)) - 200) < 4);
}

TAVLIN_TEST_MAIN(QCoreApplication, DecoderProcessTest)
#include "DecoderProcessTest.moc"
