// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/TemporaryFolder.h"
#include "support/Shell.h"
#include "testing/TestHome.h"

#include <QCryptographicHash>
#include <QDate>
#include <QGuiApplication>
#include <QImageReader>
#include <QImageWriter>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <sys/stat.h>

namespace {

QByteArray output(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished();
    return process.readAllStandardOutput().trimmed();
}

QString today() {
    return QDate::currentDate().toString(Qt::ISODate);
}

bool lacks(const char* tool) {
    return QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty();
}

}  // namespace

/// Runs each script that ships with the program on pictures, as the scripts table does, and looks at what it
/// made.
class StockScriptsTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void init();
    void nothingSelectedDoesNothing_data();
    void nothingSelectedDoesNothing();
    void copiesIntoDatedFolder();
    void resizes();
    void rotatesWithoutLoss_data();
    void rotatesWithoutLoss();
    void makesContactSheet();
    void stripsLocation();
    void makesZip();

 private:
    QString make(const QString& name, QSize size = QSize(64, 48), const QStringList& tags = {});
    int run(const char* script, const QStringList& paths);
    QStringList files() const {
        return QDir(_folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name);
    }
    QString in(const QString& name) const { return _folder + u'/' + name; }
    QString _folder;
    int _number = 0;
};

void StockScriptsTest::init() {
    _folder = qEnvironmentVariable("HOME") + QStringLiteral("/a \"b\" $c%1").arg(++_number);
    QDir().mkpath(_folder);
}

/// A JPEG whose four quarters tell its orientation, tagged by exiftool.
QString StockScriptsTest::make(const QString& name, QSize size, const QStringList& tags) {
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            image.setPixelColor(
                x, y, QColor(x < size.width() / 2 ? 40 : 220, y < size.height() / 2 ? 40 : 220, 128));
    image.save(in(name), "JPEG", 95);
    if (!tags.isEmpty())
        output(QStringLiteral("exiftool"),
               tags + QStringList{QStringLiteral("-q"), QStringLiteral("-n"),
                                  QStringLiteral("-overwrite_original"), in(name)});
    return in(name);
}

int StockScriptsTest::run(const char* script, const QStringList& paths) {
    const QString content = paths.isEmpty() ? QString() : paths.join(u'\n') + u'\n';
    const QString parameter = createTempFileWithContentString(content, QStringLiteral("paths"));
    const int status = runScriptWithParameter(
        QStringLiteral(TAVLIN_BUILD_DIR "/share/tavlin/") + QString::fromLatin1(script), parameter);
    deleteFileAtPath(parameter);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void StockScriptsTest::nothingSelectedDoesNothing_data() {
    QTest::addColumn<QByteArray>("script");
    for (const QString& name : QDir(QStringLiteral(TAVLIN_BUILD_DIR "/share/tavlin"))
                                   .entryList({QStringLiteral("*.sh"), QStringLiteral("*.py")}))
        QTest::newRow(qPrintable(name)) << name.toLatin1();
}

void StockScriptsTest::nothingSelectedDoesNothing() {
    QFETCH(const QByteArray, script);
    if (script.startsWith("Copy paths"))
        QSKIP("the clipboard needs a display: a journey runs it");
    QCOMPARE(run(script.constData(), {}), 0);
    QVERIFY(files().isEmpty());
}

void StockScriptsTest::copiesIntoDatedFolder() {
    QDir(_folder).mkdir(QStringLiteral("other"));
    const QStringList paths{make(QStringLiteral("a 'x'.jpg")),
                            make(QStringLiteral("other/a 'x'.jpg"), QSize(32, 32)),
                            make(QStringLiteral("new\nline.jpg"))};
    QCOMPARE(run("Copy to a new dated folder.sh", paths), 0);
    QCOMPARE(run("Copy to a new dated folder.sh", paths), 0);
    for (const QString& folder : {today(), today() + QStringLiteral(" 2")}) {
        QCOMPARE(
            QDir(in(folder)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name),
            (QStringList{QStringLiteral("a 'x' 2.jpg"), QStringLiteral("a 'x'.jpg"),
                         QStringLiteral("new\nline.jpg")}));
        QCOMPARE(QImageReader(in(folder) + QStringLiteral("/a 'x' 2.jpg")).size(), QSize(32, 32));
    }
}

void StockScriptsTest::resizes() {
    if (lacks("vipsthumbnail") || lacks("exiftool"))
        QSKIP("vipsthumbnail (libvips-tools) or exiftool is missing");
    const QStringList tags{QStringLiteral("-Orientation=6"), QStringLiteral("-Artist=Ada")};
    const QStringList paths{make(QStringLiteral("large [page=1].jpg"), QSize(2000, 1000), tags),
                            make(QStringLiteral("small.jpg"), QSize(64, 48))};
    QCOMPARE(run("Resize to 1600 pixels.sh", paths), 0);
    QCOMPARE(QImageReader(in(QStringLiteral("large [page=1] (1600).jpg"))).size(), QSize(800, 1600));
    QCOMPARE(QImageReader(in(QStringLiteral("small (1600).jpg"))).size(), QSize(64, 48));
    QImageReader upright(in(QStringLiteral("large [page=1] (1600).jpg")));
    QCOMPARE(upright.transformation(), QImageIOHandler::TransformationNone);
    // The left column of the turned picture was its bottom row: dark at the top.
    QVERIFY(qRed(upright.read().pixel(10, 10)) < 80);
    QCOMPARE(output(QStringLiteral("exiftool"), {QStringLiteral("-s3"), QStringLiteral("-Artist"),
                                                 in(QStringLiteral("large [page=1] (1600).jpg"))}),
             QByteArray("Ada"));
    // Again: nothing is overwritten.
    QCOMPARE(run("Resize to 1600 pixels.sh", paths), 0);
    QVERIFY(files().contains(QStringLiteral("small (1600) 2.jpg")));
}

void StockScriptsTest::rotatesWithoutLoss_data() {
    QTest::addColumn<int>("orientation");
    for (const int orientation : {0, 2, 6, 7})
        QTest::addRow("orientation %d", orientation) << orientation;
}

void StockScriptsTest::rotatesWithoutLoss() {
    if (lacks("jpegtran") || lacks("exiftool"))
        QSKIP("jpegtran (libjpeg-turbo-progs) or exiftool is missing");
    QFETCH(const int, orientation);
    QStringList tags;
    if (orientation > 0)
        tags = {QStringLiteral("-Orientation=%1").arg(orientation), QStringLiteral("-Artist=Ada")};
    const QString path = make(QStringLiteral("p.jpg"), QSize(64, 48), tags);
    QCOMPARE(run("Rotate left.sh", {path}), 0);
    const QString turnedLeft = in(QStringLiteral("p (turned left).jpg"));

    QImageReader original(path);
    original.setAutoTransform(true);
    const QImage shown = original.read();
    QImageReader left(turnedLeft);
    QCOMPARE(left.transformation(), QImageIOHandler::TransformationNone);
    const QImage turned = left.read();
    QCOMPARE(turned.size(), shown.size().transposed());
    const QImage expected = shown.transformed(QTransform().rotate(270));
    for (const QPoint corner : {QPoint(4, 4), QPoint(turned.width() - 5, 4), QPoint(4, turned.height() - 5)})
        QVERIFY(qAbs(qRed(turned.pixel(corner)) - qRed(expected.pixel(corner))) < 8 &&
                qAbs(qGreen(turned.pixel(corner)) - qGreen(expected.pixel(corner))) < 8);
    // There and back again: the very same pixels.
    QCOMPARE(run("Rotate right.sh", {turnedLeft}), 0);
    QCOMPARE(run("Rotate left.sh", {in(QStringLiteral("p (turned left) (turned right).jpg"))}), 0);
    QCOMPARE(QImage(in(QStringLiteral("p (turned left) (turned right) (turned left).jpg"))), turned);
}

void StockScriptsTest::makesContactSheet() {
    if (output(QStringLiteral("/usr/bin/python3"),
               {QStringLiteral("-c"), QStringLiteral("import PIL; print(1)")}) != "1")
        QSKIP("Pillow (python3-pil) is missing");
    QStringList paths;
    for (int i = 0; i < 21; ++i)
        paths += make(QStringLiteral("ü%1.jpg").arg(i));
    QCOMPARE(run("Contact sheet.py", paths), 0);
    QFile pdf(in(QStringLiteral("Contact sheet ") + today() + QStringLiteral(".pdf")));
    QVERIFY(pdf.open(QFile::ReadOnly));
    const QByteArray bytes = pdf.readAll();
    QVERIFY(bytes.startsWith("%PDF-"));
    QVERIFY(bytes.contains("/Count 2"));
    // A broken one among them is said and does not stop the others.
    QFile broken(in(QStringLiteral("broken.jpg")));
    QVERIFY(broken.open(QFile::WriteOnly));
    QCOMPARE(run("Contact sheet.py", {broken.fileName(), paths[0]}), 1);
    QVERIFY(files().contains(QStringLiteral("Contact sheet ") + today() + QStringLiteral(" 2.pdf")));
}

void StockScriptsTest::stripsLocation() {
    if (lacks("exiftool"))
        QSKIP("exiftool (libimage-exiftool-perl) is missing");
    const QString located = make(QStringLiteral("here.jpg"), QSize(64, 48),
                                 {QStringLiteral("-GPSLatitude=48.1"), QStringLiteral("-GPSLatitudeRef=N"),
                                  QStringLiteral("-XMP:GPSLongitude=11.5"), QStringLiteral("-Artist=Ada")});
    const QString elsewhere = make(QStringLiteral("nowhere.jpg"));
    QCOMPARE(run("Strip location data.sh", {located, elsewhere}), 0);
    const QString copy = in(QStringLiteral("here (no location).jpg"));
    QVERIFY(!output(QStringLiteral("exiftool"), {QStringLiteral("-gps*"), located}).isEmpty());
    QCOMPARE(output(QStringLiteral("exiftool"), {QStringLiteral("-gps*"), copy}), QByteArray());
    QCOMPARE(output(QStringLiteral("exiftool"), {QStringLiteral("-s3"), QStringLiteral("-Artist"), copy}),
             QByteArray("Ada"));
    QCOMPARE(QImage(copy), QImage(located));
    QVERIFY(files().contains(QStringLiteral("nowhere (no location).jpg")));
}

void StockScriptsTest::makesZip() {
    QDir(_folder).mkpath(QStringLiteral("album/deep"));
    const QStringList paths{make(QStringLiteral("a.jpg")), make(QStringLiteral("album/a.jpg")),
                            in(QStringLiteral("album"))};
    make(QStringLiteral("album/deep/b.jpg"));
    QCOMPARE(run("Make a ZIP.py", paths), 0);
    const QString archive = in(QStringLiteral("Pictures ") + today() + QStringLiteral(".zip"));
    const QByteArray names =
        output(QStringLiteral("/usr/bin/python3"),
               {QStringLiteral("-c"),
                QStringLiteral("import sys, zipfile; z = zipfile.ZipFile(sys.argv[1]); "
                               "assert z.testzip() is None; print(sorted(z.namelist()))"),
                archive});
    QCOMPARE(names, QByteArray("['a 2.jpg', 'a.jpg', 'album/a.jpg', 'album/deep/b.jpg']"));
    QCOMPARE(run("Make a ZIP.py", paths), 0);
    QVERIFY(files().contains(QStringLiteral("Pictures ") + today() + QStringLiteral(" 2.zip")));
}

int main(int argc, char** argv) {
    const TestHome home;
    qputenv("PATH", qgetenv("PATH") + ":" TAVLIN_BUILD_DIR "/libexec/tavlin");
    QGuiApplication application(argc, argv);
    StockScriptsTest test;
    const int status = QTest::qExec(&test, argc, argv);
    platform::removeTemporaryFolder();
    return status;
}

#include "tst_stockScripts.moc"
