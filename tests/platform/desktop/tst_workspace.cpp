// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/desktop/StandardFolders.h"
#include "platform/desktop/Workspace.h"
#include "platform/FolderReader.h"
#include "testing/TestHome.h"

#include <QApplication>
#include <QTest>

using platform::FileKind;
using platform::ImageRef;
using platform::Workspace;

using namespace Qt::StringLiterals;

namespace {

/// Writes a file below the user's data home.
bool install(const QString& name, const QByteArray& content) {
    QFile file(platform::dataHome() + u'/' + name);
    return QDir().mkpath(QFileInfo(file).path()) && file.open(QFile::WriteOnly) &&
           file.write(content) == content.size();
}

}  // namespace

class TestWorkspace : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void choosesAThemeWithFolders() {
        QVERIFY(install(u"icons/private/index.theme"_s,
                        "[Icon Theme]\nName=One icon\nDirectories=16\n\n[16]\nSize=16\n"));
        QVERIFY(install(u"icons/private/16/folder.svg"_s, "<svg xmlns=\"http://www.w3.org/2000/svg\"/>"));
        QVERIFY2(QIcon::fromTheme(u"folder"_s).isNull(), "there is a desktop here, and nothing to choose");
        Workspace::sharedWorkspace();
        QVERIFY(!QIcon::fromTheme(u"folder"_s).isNull());
    }

    void choosesIcons() {
        int visits = 0;
        platform::FolderReader::shared().setRead([&](const auto&... arguments) {
            ++visits;
            return platform::readFolder(arguments...);
        });
        const auto nameOfIcon = [](const QString& path, FileKind kind) {
            return Workspace::sharedWorkspace().iconForFile(path, kind)->name();
        };
        QCOMPARE(nameOfIcon(platform::homeFolder(), FileKind::folder), u"user-home"_s);
        QCOMPARE(nameOfIcon(platform::picturesFolder(), FileKind::unknown), u"folder-pictures"_s);
        QCOMPARE(nameOfIcon(u"/proc"_s, FileKind::unknown), u"drive-harddisk"_s);
        QCOMPARE(nameOfIcon(u"/a/b.jpg"_s, FileKind::folder), u"folder"_s);
        QCOMPARE(visits, 0);
        QCOMPARE(nameOfIcon(u"/a/b.jpg"_s, FileKind::unknown), u"image-jpeg"_s);
        QCOMPARE(nameOfIcon(u"/usr/share"_s, FileKind::unknown), u"folder"_s);
        QCOMPARE(visits, 2);
    }

    void answersNewObjectsOfOnePicture() {
        Workspace& workspace = Workspace::sharedWorkspace();
        const ImageRef first = workspace.iconForFile(u"/a"_s, FileKind::folder);
        const ImageRef second = workspace.iconForFileType(u"fldr"_s);
        QVERIFY(first != second && *first == *second);
        for (const QString& name : {u"folder"_s, u"file"_s, u"image"_s, u"computer"_s, u"volume"_s}) {
            const QImage own = QIcon(u":/tavlin/icons/%1.svg"_s.arg(name)).pixmap(16).toImage();
            QVERIFY2(qAlpha(own.pixel(0, 0)) == 0 && qAlpha(own.pixel(8, 8)) == 255, qPrintable(name));
        }
    }

    void opensAddresses() {
        const QString opened = QDir::homePath() + u"/opened"_s;
        QVERIFY(
            install(u"applications/opener.desktop"_s,
                    "[Desktop Entry]\nType=Application\nName=Opener\nMimeType=x-scheme-handler/tavlin-test;\n"
                    "Exec=ln -s %u " +
                        QFile::encodeName(opened) + "\n"));
        QVERIFY(install(u"applications/mimeapps.list"_s,
                        "[Default Applications]\nx-scheme-handler/tavlin-test=opener.desktop\n"));
        QVERIFY(Workspace::sharedWorkspace().openUrl(QUrl(u"tavlin-test:a%20b"_s)));
        QTRY_VERIFY(QFileInfo(opened).isSymbolicLink());
        QVERIFY(QFileInfo(opened).symLinkTarget().endsWith(u"/tavlin-test:a%20b"_s));
        QVERIFY(!Workspace::sharedWorkspace().openUrl(QUrl(u"tavlin-unheard-of:x"_s)));
    }
};

TAVLIN_TEST_MAIN(QApplication, TestWorkspace)
#include "tst_workspace.moc"
