// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/stored/StoredThumbnails.h"

#include "CommonRole.h"
#include "testing/Table.h"
#include "testing/TestMain.h"
#include "TestPictures.h"

#include <QColorSpace>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace decoder;
using namespace testPictures;

namespace {

struct Answer {
    Response response;
    QByteArray memory;
};

Answer answered(const QByteArray& bytes, RequestKind kind = RequestKind::storedThumbnail) {
    TestFile file(bytes);
    file.seek(bytes.size());  // which nothing may depend on
    Request request;
    request.kind = kind;
    Answer answer;
    const auto memory = StoredThumbnails().answer(request, file.handle(), answer.response);
    if (memory.isValid()) {
        answer.memory.resize(::lseek(memory.get(), 0, SEEK_END));
        if (::pread(memory.get(), answer.memory.data(), std::size_t(answer.memory.size()), 0) < 0)
            qFatal("the answer cannot be read");
    }
    return answer;
}

/// Every alpha and many colours.
QImage colourful(QImage::Format format, QSize size = {256, 192}) {
    QImage image(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, qRgba(x * 3 & 255, y * 5 & 255, (x ^ y) & 255, (x + y) & 255));
    image.convertTo(format);
    image.setText(u"Thumb::URI"_s, u"file:///a"_s);
    image.setText(u"Comment"_s, QString(200, u'\u00e9'));  // which the toolkit packs
    image.setText(u"Title"_s, u"\u4e2d"_s);                // which does not fit Latin-1
    return image;
}

}  // namespace

/// The store's thumbnails as their own decoder reads them, beside what the toolkit makes of them.
class StoredThumbnailsTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() { QVERIFY(prepareCommonRole()); }

    void readsAsTheToolkitDoes() {
        for (const auto format : {QImage::Format_RGB32, QImage::Format_ARGB32}) {
            const QByteArray bytes = written(colourful(format), "png");
            const TestFile file(bytes);
            Request request;
            request.kind = RequestKind::storedThumbnail;
            const auto expected = std::get<Picture>(decode(request, file.handle()));
            const auto [response, memory] = answered(bytes);
            const auto layout = checkedLayout(response, kMaximumPixelSize);
            QVERIFY(response.status == Status::picture && layout);
            QCOMPARE(std::uint64_t(memory.size()), layout->totalBytes);
            const auto shown = response.format == PixelFormat::rgb32 ? QImage::Format_RGB32
                                                                     : QImage::Format_ARGB32_Premultiplied;
            const QImage image(reinterpret_cast<const uchar*>(memory.constData()), response.width,
                               response.height, response.stride, shown);
            QCOMPARE(image, expected.image);
            QCOMPARE(unpackTexts(memory.mid(qsizetype(layout->pixelBytes))), std::optional(expected.texts));
            QCOMPARE(expected.texts.size(), 3);
        }
    }

    void leavesTheUnusualToTheCommonRole_data() {
        const Table<QByteArray> row("bytes");
        QImage wide = colourful(QImage::Format_RGB32);
        wide.setColorSpace(QColorSpace::DisplayP3);
        row("another colour space", written(wide, "png"));
        for (const auto format :
             {QImage::Format_Grayscale8, QImage::Format_Indexed8, QImage::Format_RGBA64, QImage::Format_Mono})
            row(QByteArray::number(format).constData(), written(colourful(format), "png"));
        row("too large", written(colourful(QImage::Format_RGB32, {1025, 2}), "png"));
        const QByteArray plain = written(colourful(QImage::Format_RGB32), "png");
        QByteArray clear = plain;
        row("a clear colour", clear.insert(33, pngChunk("tRNS", QByteArray(6, '\0'))));
    }
    void leavesTheUnusualToTheCommonRole() {
        QFETCH(QByteArray, bytes);
        const auto [response, memory] = answered(bytes);
        QVERIFY(response.status == Status::otherRole && memory.isEmpty());
    }

    void answersWhateverTheFileHolds() {
        const QByteArray good = written(colourful(QImage::Format_ARGB32, {40, 30}), "png");
        for (qsizetype length = 0; length < good.size(); length += 7)
            QCOMPARE(answered(good.left(length)).response.status, Status::damaged);
        for (qsizetype at = 0; at < good.size(); at += 3) {
            QByteArray flipped = good;
            flipped[at] = char(flipped[at] ^ 0x55);
            const auto [response, memory] = answered(flipped);
            QCOMPARE(response.status == Status::picture, !memory.isEmpty());
        }
        QCOMPARE(answered(good, RequestKind::thumbnail).response.status, Status::otherRole);
    }
};

TAVLIN_TEST_MAIN(QCoreApplication, StoredThumbnailsTest)
#include "StoredThumbnailsTest.moc"
