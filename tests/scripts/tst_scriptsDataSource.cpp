// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/TemporaryFolder.h"
#include "scripts/ScriptsDataSource.h"
#include "settings/PreferencesDictionary.h"
#include "testing/TestFiles.h"
#include "testing/TestMain.h"

#include <QApplication>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QStringList stockScripts{
    u"Contact sheet.py"_s, u"Copy paths to the clipboard.sh"_s, u"Copy to a new dated folder.sh"_s,
    u"Make a ZIP.py"_s,    u"Resize to 1600 pixels.sh"_s,       u"Rotate left.sh"_s,
    u"Rotate right.sh"_s,  u"Strip location data.sh"_s};

}  // namespace

/// The library on its real folder, in its real table.
class ScriptsDataSourceTest : public QObject {
    Q_OBJECT

 private Q_SLOTS:
    void initTestCase() {
        qputenv("PATH", qgetenv("PATH") + ":" TAVLIN_BUILD_DIR "/libexec/tavlin");
        appGlobals = PreferencesDictionary::dictionary();
        appGlobals->load();
    }
    void cleanupTestCase() { platform::removeTemporaryFolder(); }
    void init() {
        QDir(folder()).removeRecursively();
        _scripts = std::make_unique<ScriptsDataSource>();
        _table = std::make_unique<platform::TableView>();
        _table->setColumnIdentifier(u"scriptNames"_s);
        _table->setDataSource(_scripts.get());
        _table->resize(300, 400);
        _scripts->setScriptsTableView(_table.get());
    }
    void installsAndListsInOrder() {
        _scripts->awakeFromNib();
        QCOMPARE(names(), stockScripts);
        QCOMPARE(_scripts->objectAtIndex(0)->objectForKey(u"ScriptURLKey").value(),
                 folder() + u"/Contact sheet.py"_s);
        const QString tip = _table->model()->index(5, 0).data(Qt::ToolTipRole).toString();
        QVERIFY(tip.contains(
            u"Turns the selected JPEGs a quarter left without loss, into new files beside them."));
    }
    void stockScriptsAreRestoredAndOthersKept() {
        _scripts->awakeFromNib();
        const QByteArray stock = readFile(folder() + u"/Rotate left.sh"_s);
        writeFile(folder() + u"/Rotate left.sh"_s, "edited");
        writeFile(folder() + u"/notes.txt"_s, "my own");
        writeFile(folder() + u"/.hidden.sh"_s, "my own");
        QDir(folder()).mkdir(u"a folder"_s);
        // As the next start finds it.
        ScriptsDataSource next;
        next.awakeFromNib();
        QCOMPARE(readFile(folder() + u"/Rotate left.sh"_s), stock);
        QCOMPARE(readFile(folder() + u"/notes.txt"_s), QByteArray("my own"));
        QStringList expected = stockScripts + QStringList{u"notes.txt"_s, u"a folder"_s};
        QStringList listed;
        for (const ScriptEntryRef& entry : next.array())
            listed += entry->objectForKey(u"ScriptNameKey").value();
        expected.sort();
        listed.sort();
        QCOMPARE(listed, expected);
    }
    void secondListingAppends() {
        _scripts->awakeFromNib();
        _scripts->reloadScripts();
        _scripts->reloadAllTableViews();
        QCOMPARE(names(), stockScripts + stockScripts);
    }

 private:
    QStringList names() {
        QStringList shown;
        for (int row = 0; row < _table->numberOfRows(); ++row)
            shown += _table->model()->index(row, 0).data().toString();
        return shown;
    }
    QString folder() const { return ScriptsDataSource::scriptsFolder(); }
    std::unique_ptr<platform::TableView> _table;
    std::unique_ptr<ScriptsDataSource> _scripts;
};

TAVLIN_TEST_MAIN(QApplication, ScriptsDataSourceTest)
#include "tst_scriptsDataSource.moc"
