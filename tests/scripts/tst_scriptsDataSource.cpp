// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/TemporaryFolder.h"
#include "scripts/ScriptsDataSource.h"
#include "settings/PreferencesDictionary.h"
#include "testing/TestHome.h"

#include <QApplication>
#include <QTest>

#include <memory>

namespace {

void write(const QString& path, const QByteArray& text) {
    QFile file(path);
    QVERIFY(file.open(QFile::WriteOnly));
    file.write(text);
}

QByteArray read(const QString& path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray("<none>");
}

const QStringList stockScripts{QStringLiteral("Contact sheet.py"),
                               QStringLiteral("Copy paths to the clipboard.sh"),
                               QStringLiteral("Copy to a new dated folder.sh"),
                               QStringLiteral("Make a ZIP.py"),
                               QStringLiteral("Resize to 1600 pixels.sh"),
                               QStringLiteral("Rotate left.sh"),
                               QStringLiteral("Rotate right.sh"),
                               QStringLiteral("Strip location data.sh")};

}  // namespace

/// The library on its real folder, in its real table.
class ScriptsDataSourceTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void init();
    void installsAndListsInOrder();
    void stockScriptsAreRestoredAndOthersKept();
    void secondListingAppends();

 private:
    QStringList names();
    QString folder() const { return ScriptsDataSource::scriptsFolder(); }
    std::unique_ptr<platform::TableView> _table;
    std::unique_ptr<ScriptsDataSource> _scripts;
};

void ScriptsDataSourceTest::init() {
    QDir(folder()).removeRecursively();
    _scripts = std::make_unique<ScriptsDataSource>();
    _table = std::make_unique<platform::TableView>();
    _table->setColumnIdentifier(QStringLiteral("scriptNames"));
    _table->setDataSource(_scripts.get());
    _table->resize(300, 400);
    _scripts->setScriptsTableView(_table.get());
}

QStringList ScriptsDataSourceTest::names() {
    QStringList shown;
    for (int row = 0; row < _table->numberOfRows(); ++row)
        shown += _table->model()->index(row, 0).data().toString();
    return shown;
}

void ScriptsDataSourceTest::installsAndListsInOrder() {
    _scripts->awakeFromNib();
    QCOMPARE(names(), stockScripts);
    QCOMPARE(_scripts->objectAtIndex(0)->objectForKey(u"ScriptURLKey").value(),
             folder() + QStringLiteral("/Contact sheet.py"));
    const QString tip = _table->model()->index(5, 0).data(Qt::ToolTipRole).toString();
    QVERIFY(
        tip.contains(u"Turns the selected JPEGs a quarter left without loss, into new files beside them."));
}

void ScriptsDataSourceTest::stockScriptsAreRestoredAndOthersKept() {
    _scripts->awakeFromNib();
    const QByteArray stock = read(folder() + QStringLiteral("/Rotate left.sh"));
    write(folder() + QStringLiteral("/Rotate left.sh"), "edited");
    write(folder() + QStringLiteral("/notes.txt"), "my own");
    write(folder() + QStringLiteral("/.hidden.sh"), "my own");
    QDir(folder()).mkdir(QStringLiteral("a folder"));
    // As the next start finds it.
    ScriptsDataSource next;
    next.awakeFromNib();
    QCOMPARE(read(folder() + QStringLiteral("/Rotate left.sh")), stock);
    QCOMPARE(read(folder() + QStringLiteral("/notes.txt")), QByteArray("my own"));
    QStringList expected =
        stockScripts + QStringList{QStringLiteral("notes.txt"), QStringLiteral("a folder")};
    QStringList listed;
    for (const ScriptEntryRef& entry : next.array())
        listed += entry->objectForKey(u"ScriptNameKey").value();
    expected.sort();
    listed.sort();
    QCOMPARE(listed, expected);
}

void ScriptsDataSourceTest::secondListingAppends() {
    _scripts->awakeFromNib();
    _scripts->reloadScripts();
    _scripts->reloadAllTableViews();
    QCOMPARE(names(), stockScripts + stockScripts);
}

int main(int argc, char** argv) {
    const TestHome home;
    qputenv("PATH", qgetenv("PATH") + ":" TAVLIN_BUILD_DIR "/libexec/tavlin");
    QApplication application(argc, argv);
    appGlobals = PreferencesDictionary::dictionary();
    appGlobals->load();
    ScriptsDataSourceTest test;
    const int status = QTest::qExec(&test, argc, argv);
    platform::removeTemporaryFolder();
    return status;
}

#include "tst_scriptsDataSource.moc"
