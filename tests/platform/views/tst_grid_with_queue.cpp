// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/imaging/ThumbnailQueue.h"
#include "platform/views/GridTestParts.h"
#include "testing/TestHome.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTest>

using platform::ImageBrowserView;
using platform::Thumbnail;

namespace {

bool isNear(QColor a, QColor b) {
    constexpr int tolerance = 12;
    return qAbs(a.red() - b.red()) < tolerance && qAbs(a.green() - b.green()) < tolerance &&
           qAbs(a.blue() - b.blue()) < tolerance;
}

}  // namespace

/// The grid with the real queue and its decoders, from files to pixels.
class GridWithQueueTest : public QObject {
    Q_OBJECT

    QTemporaryDir _folder;
    platform::ThumbnailQueue _queue;
    GridTestSource _source;

    QString path(const char* name) const { return _folder.filePath(QString::fromLatin1(name)); }
    void makePicture(const QString& file, QColor colour) const {
        QImage picture(900, 600, QImage::Format_RGB32);
        picture.fill(colour);
        QVERIFY(picture.save(file, "jpeg"));
    }

 private Q_SLOTS:
    void fromFilesToPixels() {
        QVERIFY(QFile::exists(QStringLiteral(TAVLIN_BUILD_DIR "/libexec/tavlin/tavlin-decoder")));
        _queue.setDecoderProgram(QStringLiteral(TAVLIN_BUILD_DIR "/libexec/tavlin/tavlin-decoder"));
        makePicture(path("green.jpg"), QColor(20, 180, 60));
        QFile broken(path("broken.jpg"));
        QVERIFY(broken.open(QFile::WriteOnly));
        broken.write("\xff\xd8\xff\xe0 and nothing more");
        broken.close();
        QVERIFY(QDir(_folder.path()).mkdir(QStringLiteral("folder")));
        for (const char* name : {"green.jpg", "broken.jpg", "folder"})
            _source.items.push_back(std::make_unique<GridTestItem>(path(name)));

        ImageBrowserView view;
        view.setDataSource(&_source);
        view.setThumbnailQueue(&_queue);
        view.setIconProvider([](const QString&) {
            QPixmap pixmap(128, 128);
            pixmap.fill(Qt::magenta);
            return QIcon(pixmap);
        });
        view.resize(800, 500);
        view.reloadData();
        view.show();
        const auto middle = [&](int index) {
            const QRect cell = view.visualRect(view.model()->index(index, 0));
            const QPoint point(cell.center().x(), cell.top() + cell.width() / 2);
            return view.viewport()->grab().toImage().pixelColor(point * view.devicePixelRatioF());
        };
        QTRY_VERIFY(isNear(middle(0), QColor(20, 180, 60)));
        QTRY_COMPARE(_queue.thumbnail(path("broken.jpg")).state, Thumbnail::State::failed);
        QTRY_VERIFY(isNear(middle(2), Qt::magenta));

        // A picture that changed on the disk is seen at the next reload.
        makePicture(path("green.jpg"), QColor(200, 40, 40));
        QFile changed(path("green.jpg"));
        QVERIFY(changed.open(QFile::ReadWrite));
        QVERIFY(changed.setFileTime(QDateTime::currentDateTime().addSecs(-60), QFile::FileModificationTime));
        changed.close();
        view.prepareForReload();
        view.reloadData();
        QVERIFY(isNear(middle(0), QColor(20, 180, 60)));
        QTRY_VERIFY(isNear(middle(0), QColor(200, 40, 40)));
    }
};

TAVLIN_TEST_MAIN(QApplication, GridWithQueueTest)
#include "tst_grid_with_queue.moc"
