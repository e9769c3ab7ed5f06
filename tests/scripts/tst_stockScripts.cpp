// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/TemporaryFolder.h"
#include "support/Shell.h"
#include "testing/TestMain.h"

#include <QDate>
#include <QGuiApplication>
#include <QImageReader>
#include <QProcess>
#include <QStandardPaths>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

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
    void initTestCase() { qputenv("PATH", qgetenv("PATH") + ":" TAVLIN_BUILD_DIR "/libexec/tavlin"); }
    void cleanupTestCase() { platform::removeTemporaryFolder(); }
    void init() {
        _folder = qEnvironmentVariable("HOME") + u"/a \"b\" $c%1"_s.arg(++_number);
        QDir().mkpath(_folder);
    }
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

/// A JPEG whose four quarters tell its orientation, tagged by exiftool.
QString StockScriptsTest::make(const QString& name, QSize size, const QStringList& tags) {
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            image.setPixelColor(
                x, y, QColor(x < size.width() / 2 ? 40 : 220, y < size.height() / 2 ? 40 : 220, 128));
    image.save(in(name), "JPEG", 95);
    if (!tags.isEmpty())
        output(u"exiftool"_s, tags + QStringList{u"-q"_s, u"-n"_s, u"-overwrite_original"_s, in(name)});
    return in(name);
}

int StockScriptsTest::run(const char* script, const QStringList& paths) {
    const QString content = paths.isEmpty() ? QString() : paths.join(u'\n') + u'\n';
    const QString parameter = createTempFileWithContentString(content, u"paths"_s);
    const int status = runScriptWithParameter(
        QStringLiteral(TAVLIN_BUILD_DIR "/share/tavlin/") + QString::fromLatin1(script), parameter);
    deleteFileAtPath(parameter);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void StockScriptsTest::nothingSelectedDoesNothing_data() {
    QTest::addColumn<QByteArray>("script");
    for (const QString& name :
         QDir(QStringLiteral(TAVLIN_BUILD_DIR "/share/tavlin")).entryList({u"*.sh"_s, u"*.py"_s}))
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
    QDir(_folder).mkdir(u"other"_s);
    const QStringList paths{make(u"a 'x'.jpg"_s), make(u"other/a 'x'.jpg"_s, QSize(32, 32)),
                            make(u"new\nline.jpg"_s)};
    QCOMPARE(run("Copy to a new dated folder.sh", paths), 0);
    QCOMPARE(run("Copy to a new dated folder.sh", paths), 0);
    for (const QString& folder : {today(), today() + u" 2"_s}) {
        QCOMPARE(
            QDir(in(folder)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name),
            (QStringList{u"a 'x' 2.jpg"_s, u"a 'x'.jpg"_s, u"new\nline.jpg"_s}));
        QCOMPARE(QImageReader(in(folder) + u"/a 'x' 2.jpg"_s).size(), QSize(32, 32));
    }
}

void StockScriptsTest::resizes() {
    if (lacks("vipsthumbnail") || lacks("exiftool"))
        QSKIP("vipsthumbnail (libvips-tools) or exiftool is missing");
    const QStringList tags{u"-Orientation=6"_s, u"-Artist=Ada"_s};
    const QStringList paths{make(u"large [page=1].jpg"_s, QSize(2000, 1000), tags),
                            make(u"small.jpg"_s, QSize(64, 48))};
    QCOMPARE(run("Resize to 1600 pixels.sh", paths), 0);
    QCOMPARE(QImageReader(in(u"large [page=1] (1600).jpg"_s)).size(), QSize(800, 1600));
    QCOMPARE(QImageReader(in(u"small (1600).jpg"_s)).size(), QSize(64, 48));
    QImageReader upright(in(u"large [page=1] (1600).jpg"_s));
    QCOMPARE(upright.transformation(), QImageIOHandler::TransformationNone);
    // The left column of the turned picture was its bottom row: dark at the top.
    QVERIFY(qRed(upright.read().pixel(10, 10)) < 80);
    QCOMPARE(output(u"exiftool"_s, {u"-s3"_s, u"-Artist"_s, in(u"large [page=1] (1600).jpg"_s)}),
             QByteArray("Ada"));
    // Again: nothing is overwritten.
    QCOMPARE(run("Resize to 1600 pixels.sh", paths), 0);
    QVERIFY(files().contains(u"small (1600) 2.jpg"_s));
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
        tags = {u"-Orientation=%1"_s.arg(orientation), u"-Artist=Ada"_s};
    const QString path = make(u"p.jpg"_s, QSize(64, 48), tags);
    QCOMPARE(run("Rotate left.sh", {path}), 0);
    const QString turnedLeft = in(u"p (turned left).jpg"_s);

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
    QCOMPARE(run("Rotate left.sh", {in(u"p (turned left) (turned right).jpg"_s)}), 0);
    QCOMPARE(QImage(in(u"p (turned left) (turned right) (turned left).jpg"_s)), turned);
}

void StockScriptsTest::makesContactSheet() {
    if (output(u"/usr/bin/python3"_s, {u"-c"_s, u"import PIL; print(1)"_s}) != "1")
        QSKIP("Pillow (python3-pil) is missing");
    QStringList paths;
    for (int i = 0; i < 21; ++i)
        paths += make(u"ü%1.jpg"_s.arg(i));
    QCOMPARE(run("Contact sheet.py", paths), 0);
    QFile pdf(in(u"Contact sheet "_s + today() + u".pdf"_s));
    QVERIFY(pdf.open(QFile::ReadOnly));
    const QByteArray bytes = pdf.readAll();
    QVERIFY(bytes.startsWith("%PDF-"));
    QVERIFY(bytes.contains("/Count 2"));
    // A broken one among them is said and does not stop the others.
    QFile broken(in(u"broken.jpg"_s));
    QVERIFY(broken.open(QFile::WriteOnly));
    QCOMPARE(run("Contact sheet.py", {broken.fileName(), paths[0]}), 1);
    QVERIFY(files().contains(u"Contact sheet "_s + today() + u" 2.pdf"_s));
}

void StockScriptsTest::stripsLocation() {
    if (lacks("exiftool"))
        QSKIP("exiftool (libimage-exiftool-perl) is missing");
    const QString located =
        make(u"here.jpg"_s, QSize(64, 48),
             {u"-GPSLatitude=48.1"_s, u"-GPSLatitudeRef=N"_s, u"-XMP:GPSLongitude=11.5"_s, u"-Artist=Ada"_s});
    const QString elsewhere = make(u"nowhere.jpg"_s);
    QCOMPARE(run("Strip location data.sh", {located, elsewhere}), 0);
    const QString copy = in(u"here (no location).jpg"_s);
    QVERIFY(!output(u"exiftool"_s, {u"-gps*"_s, located}).isEmpty());
    QCOMPARE(output(u"exiftool"_s, {u"-gps*"_s, copy}), QByteArray());
    QCOMPARE(output(u"exiftool"_s, {u"-s3"_s, u"-Artist"_s, copy}), QByteArray("Ada"));
    QCOMPARE(QImage(copy), QImage(located));
    QVERIFY(files().contains(u"nowhere (no location).jpg"_s));
}

void StockScriptsTest::makesZip() {
    QDir(_folder).mkpath(u"album/deep"_s);
    const QStringList paths{make(u"a.jpg"_s), make(u"album/a.jpg"_s), in(u"album"_s)};
    make(u"album/deep/b.jpg"_s);
    QCOMPARE(run("Make a ZIP.py", paths), 0);
    const QString archive = in(u"Pictures "_s + today() + u".zip"_s);
    const QByteArray names = output(
        u"/usr/bin/python3"_s, {u"-c"_s,
                                QStringLiteral("import sys, zipfile; z = zipfile.ZipFile(sys.argv[1]); "
                                               "assert z.testzip() is None; print(sorted(z.namelist()))"),
                                archive});
    QCOMPARE(names, QByteArray("['a 2.jpg', 'a.jpg', 'album/a.jpg', 'album/deep/b.jpg']"));
    QCOMPARE(run("Make a ZIP.py", paths), 0);
    QVERIFY(files().contains(u"Pictures "_s + today() + u" 2.zip"_s));
}

TAVLIN_TEST_MAIN(QGuiApplication, StockScriptsTest)
#include "tst_stockScripts.moc"
