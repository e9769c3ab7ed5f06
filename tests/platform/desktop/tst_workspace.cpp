// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/StandardFolders.h"
#include "platform/desktop/Workspace.h"
#include "platform/FolderReader.h"
#include "testing/TestHome.h"

#include <QApplication>
#include <QTest>

using platform::FileKind;
using platform::FolderContents;
using platform::FolderDetail;
using platform::FolderReader;
using platform::ImageRef;
using platform::Workspace;

using namespace Qt::StringLiterals;

class TestWorkspace : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase();
    void iconsByRole_data();
    void iconsByRole();
    void iconsAreNewObjectsOfOnePicture();
    void asksForUnknownKindsOnly();
    void iconsOfTypes_data();
    void iconsOfTypes();
    void bringsIconsOfItsOwn();
    void opensAddresses();

 private:
    Workspace* _workspace = nullptr;
};

void TestWorkspace::initTestCase() {
    const QString theme = qEnvironmentVariable("XDG_DATA_HOME") + u"/icons/private/"_s;
    QVERIFY(QDir().mkpath(theme + u"16"_s));
    QFile index(theme + u"index.theme"_s);
    QVERIFY(index.open(QFile::WriteOnly));
    index.write("[Icon Theme]\nName=Private\nComment=One icon\nDirectories=16\n\n[16]\nSize=16\n");
    index.close();
    QImage folder(16, 16, QImage::Format_ARGB32);
    folder.fill(Qt::green);
    QVERIFY(folder.save(theme + u"16/folder.png"_s));
    QVERIFY2(QIcon::fromTheme(u"folder"_s).isNull(), "there is a desktop here, and nothing to choose");

    _workspace = &Workspace::sharedWorkspace();
    QVERIFY2(!QIcon::fromTheme(u"folder"_s).isNull(), "no theme with a folder was chosen");
}

void TestWorkspace::iconsByRole_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<FileKind>("kind");
    QTest::addColumn<QString>("name");
    QTest::newRow("home") << platform::homeFolder() << FileKind::folder << u"user-home"_s;
    QTest::newRow("pictures") << platform::picturesFolder() << FileKind::folder << u"folder-pictures"_s;
    QTest::newRow("no pictures there")
        << platform::picturesFolder() << FileKind::notFolder << u"application-octet-stream"_s;
    QTest::newRow("the root") << u"/"_s << FileKind::folder << u"drive-harddisk"_s;
    QTest::newRow("a mounted volume") << u"/proc"_s << FileKind::unknown << u"drive-harddisk"_s;
    QTest::newRow("a folder") << u"/usr/share"_s << FileKind::folder << u"folder"_s;
    QTest::newRow("a folder, asked") << u"/usr/share"_s << FileKind::unknown << u"folder"_s;
    QTest::newRow("a folder named like a picture") << u"/a/b.jpg"_s << FileKind::folder << u"folder"_s;
    QTest::newRow("a picture") << u"/a/b.jpg"_s << FileKind::notFolder << u"image-jpeg"_s;
    QTest::newRow("a picture that is gone") << u"/a/b.jpg"_s << FileKind::unknown << u"image-jpeg"_s;
}

void TestWorkspace::iconsByRole() {
    QFETCH(QString, path);
    QFETCH(FileKind, kind);
    const ImageRef icon = _workspace->iconForFile(path, kind);
    QTEST(icon->name(), "name");
    QCOMPARE(icon->size(), QSizeF(32, 32));
    QVERIFY(!icon->icon().pixmap(32).isNull());
}

void TestWorkspace::iconsAreNewObjectsOfOnePicture() {
    const ImageRef first = _workspace->iconForFile(u"/a"_s, FileKind::folder);
    const ImageRef second = _workspace->iconForFile(u"/b"_s, FileKind::folder);
    QVERIFY(first != second);
    QVERIFY(*first == *second);
    first->setSize(QSizeF(16, 16));
    QCOMPARE(second->size(), QSizeF(32, 32));
}

void TestWorkspace::asksForUnknownKindsOnly() {
    int visits = 0;
    FolderReader::shared().setRead(
        [&](const QString& path, FolderDetail detail, const platform::LinkStatus&) {
            ++visits;
            return platform::readFolder(path, detail);
        });
    _workspace->iconForFile(u"/gone/volume"_s, FileKind::folder);
    _workspace->iconForFile(platform::homeFolder());
    QCOMPARE(visits, 0);
    _workspace->iconForFile(u"/gone/volume"_s);
    QCOMPARE(visits, 1);
    FolderReader::shared().setRead(platform::readFolder);
}

void TestWorkspace::iconsOfTypes_data() {
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("name");
    QTest::newRow("generic folder") << u"fldr"_s << u"folder"_s;
    QTest::newRow("generic address") << u"gurl"_s << u"applications-internet"_s;
    QTest::newRow("extension") << u"png"_s << u"image-png"_s;
    QTest::newRow("MIME type") << u"text/x-python"_s << u"text-x-python"_s;
}

void TestWorkspace::iconsOfTypes() {
    QFETCH(QString, type);
    const ImageRef icon = _workspace->iconForFileType(type);
    QTEST(icon->name(), "name");
    QVERIFY(!icon->icon().pixmap(32).isNull());
    QVERIFY(_workspace->imageNamed(u"NSComputer"_s) != nullptr);
    QVERIFY(_workspace->imageNamed(u"NSNothing"_s) == nullptr);
}

void TestWorkspace::bringsIconsOfItsOwn() {
    for (const QString& name : {u"folder"_s, u"file"_s, u"image"_s, u"computer"_s, u"volume"_s}) {
        const QImage picture = QIcon(u":/tavlin/icons/%1.svg"_s.arg(name)).pixmap(16).toImage();
        QVERIFY2(!picture.isNull(), qPrintable(name));
        QCOMPARE(qAlpha(picture.pixel(0, 0)), 0);
        QVERIFY2(qAlpha(picture.pixel(8, 8)) == 255, qPrintable(name));
    }
}

void TestWorkspace::opensAddresses() {
    QVERIFY(!_workspace->openUrl(QUrl(u"tavlin-unheard-of:x"_s)));

    const QString opened = QDir::homePath() + u"/opened"_s;
    const QString programs = qEnvironmentVariable("XDG_DATA_HOME") + u"/applications/"_s;
    QVERIFY(QDir().mkpath(programs));
    QFile entry(programs + u"opener.desktop"_s);
    QVERIFY(entry.open(QFile::WriteOnly));
    entry.write(
        "[Desktop Entry]\nType=Application\nName=Opener\nMimeType=x-scheme-handler/tavlin-test;\n"
        "Exec=sh -c 'printf %%s \"$0\" > \"" +
        QFile::encodeName(opened) + ".part\" && mv \"" + QFile::encodeName(opened) + ".part\" \"" +
        QFile::encodeName(opened) + "\"' %u\n");
    entry.close();
    QFile defaults(programs + u"mimeapps.list"_s);
    QVERIFY(defaults.open(QFile::WriteOnly));
    defaults.write("[Default Applications]\nx-scheme-handler/tavlin-test=opener.desktop\n");
    defaults.close();

    QVERIFY(_workspace->openUrl(QUrl(u"tavlin-test:a%20b"_s)));
    QTRY_VERIFY(QFile::exists(opened));
    QFile file(opened);
    QVERIFY(file.open(QFile::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("tavlin-test:a%20b"));
}

TAVLIN_TEST_MAIN(QApplication, TestWorkspace)
#include "tst_workspace.moc"
