// SPDX-License-Identifier: GPL-3.0-or-later
#include "corpus/Census.h"
#include "corpus/CorpusRun.h"
#include "corpus/CorpusTable.h"
#include "corpus/Expectation.h"
#include "decoder/TestPictures.h"
#include "testing/TestFiles.h"
#include "testing/TestMain.h"

#include <sys/stat.h>

#include <QMimeDatabase>

#include <random>

using namespace Qt::StringLiterals;

namespace {

/// A photograph that is installed with the desktop, made small; the test's own picture without one.
QImage photograph() {
    const QImage image(u"/usr/share/backgrounds/mate/nature/Dune.jpg"_s);
    return image.isNull() ? testPictures::quadrants({320, 240})
                          : image.scaledToWidth(320, Qt::SmoothTransformation);
}

/// By the names of their formats.
QHash<QString, QByteArray> goodFiles() {
    QHash<QString, QByteArray> files;
    const QImage picture = photograph();
    for (const char* format : {"jpg", "png", "bmp", "webp", "tiff", "ppm"})
        files.insert(QString::fromLatin1(format), testPictures::written(picture, format));
    files[u"jpg"_s] = testPictures::withExifInJpeg(
        files[u"jpg"_s], testPictures::exifBlock(6, files.value(u"jpg"_s).left(4000)));
    for (const char* format : {"avif", "heic", "jxl"})
        files.insert(QString::fromLatin1(format),
                     readFile(QStringLiteral(TAVLIN_TEST_DATA "/quadrants.") + QLatin1StringView(format)));
    files.insert(
        u"svg"_s,
        "<svg xmlns='http://www.w3.org/2000/svg' width='64' height='48'><rect width='9' height='9'/></svg>");
    return files;
}

}  // namespace

/// The whole road from a file to its answers, over files that mean harm.
class CorpusTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    /// A run that finds nothing wrong with decoders that cannot work would find nothing wrong with any.
    void brokenDecodersAreFaults() {
        const auto file = CorpusRun(u"/bin/false"_s).ask(path("good.png"));
        QVERIFY(!file.answers.empty());
        for (const CorpusAnswer& answer : file.answers)
            QVERIFY2(answer.ending == Ending::fault || answer.question == Question::store,
                     nameOf(answer.question));
    }

    /// No file costs more than its own answer: nobody dies unseen, nothing is left behind, and good files
    /// still come out between the bad ones.
    void hostileFilesCostTheirOwnAnswer() {
        const QString decoder = QStringLiteral(TAVLIN_BUILD_DIR "/libexec/tavlin/tavlin-decoder");
        QMimeDatabase().mimeTypesForFileName(u"good.png"_s);  // keeps a file open
        CorpusRun(decoder).ask(path("good.png"));
        const Census before = Census::atRest();
        std::vector<CorpusAnswer> answers;
        {
            CorpusRun run(decoder);
            for (const QString& file : filesBelow(_folder.path())) {
                const CorpusFile found = run.ask(file);
                answers.insert(answers.end(), found.answers.begin(), found.answers.end());
                if (!QFileInfo(file).fileName().startsWith(u"good."))
                    continue;
                QVERIFY2(found.picture && found.properties, qUtf8Printable(file));
                if (file.endsWith(u"jpg") || file.endsWith(u"tiff"))
                    QCOMPARE(mismatch(found, referenceOf(file)), QString());
            }
        }
        QCOMPARE(Census::atRest().description(), before.description());
        const auto number = [&](Ending ending) {
            return std::ranges::count(answers, ending, &CorpusAnswer::ending);
        };
        const QByteArray table = corpusTable(answers).toUtf8();
        QVERIFY2(number(Ending::fault) == 0 && number(Ending::deadline) == 0, table.constData());
        QVERIFY2(number(Ending::refused) > 0 && number(Ending::memory) > 0, table.constData());
    }

    void initTestCase() {
        std::mt19937 random(7);  // NOLINT: the same files each time
        const auto files = goodFiles();
        for (auto file = files.cbegin(); file != files.cend(); ++file) {
            QVERIFY2(!file->isEmpty(), qUtf8Printable(file.key()));
            write(u"good."_s + file.key(), *file);
            for (const int eighths : {1, 4, 7})
                write(u"cut%1.%2"_s.arg(eighths).arg(file.key()), file->first(file->size() * eighths / 8));
            for (int copy = 0; copy < 2; ++copy) {
                QByteArray flipped = *file;
                for (int i = 0; i < 8; ++i)
                    flipped[qsizetype(random() % size_t(flipped.size()))] ^= char(1 << random() % 8);
                write(u"flipped%1.%2"_s.arg(copy).arg(file.key()), flipped);
            }
        }
        write(u"bomb.png"_s, testPictures::pngOfSize(60000, 60000));
        write(u"bomb.gif"_s, QByteArray::fromHex("474946383961ffffffff80000000000000ff21f9040000000000"
                                                 "2c00000000ffffffff000002014c003b"));
        write(u"text.jpg"_s, "no picture at all\n");
        write(u"empty.png"_s, {});
        write(u"picture.svg"_s, files.value(u"png"_s));
        QCOMPARE(::mkfifo(QFile::encodeName(path("fifo.jpg")), 0600), 0);
        QVERIFY(QFile::link(u"/dev/zero"_s, path("endless.png")));
    }

 private:
    QString path(const char* name) const { return _folder.filePath(QString::fromLatin1(name)); }

    void write(const QString& name, const QByteArray& bytes) { writeFile(_folder.filePath(name), bytes); }

    /// The photograph as it was made, turned as the JPEG says.
    static std::vector<ReferencePicture> referenceOf(const QString& file) {
        const QTransform turn = file.endsWith(u"jpg") ? QTransform().rotate(90) : QTransform();
        return {{u"the original"_s, photograph().transformed(turn)}};
    }

    QTemporaryDir _folder;
};

TAVLIN_TEST_MAIN(QCoreApplication, CorpusTest)

#include "CorpusTest.moc"
