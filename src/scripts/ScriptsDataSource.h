// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/views/TableView.h"
#include "scripts/ScriptEntry.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

class ImageBrowserDataSource;
class QWidget;

/// The user's scripts: installs the stock scripts at every start, lists the script folder once, feeds the
/// scripts table, and runs a script on the images that are selected. Main thread only; the lock guards the
/// list where an operation says so. Borrows its outlets.
class ScriptsDataSource : public platform::TableViewDataSource {
 public:
    ~ScriptsDataSource() override = default;

    void setScriptsTableView(platform::TableView* table) { scriptsTableView = table; }
    void setMainWindow(QWidget* window) { mainWindow = window; }
    void setImageBrowserDataSource(ImageBrowserDataSource* dataSource) {
        imageBrowserDataSource = dataSource;
    }
    using RunBegins = std::function<void(const QString& scriptName)>;
    /// `status`: the shell's, as wait() answers it. `errors`: the beginning of its error output.
    using RunEnds = std::function<void(const QString& scriptName, int status, const QString& errors)>;
    /// Told right before a script blocks the program, and right after.
    void setRunObservers(RunBegins begins, RunEnds ends) {
        _runBegins = std::move(begins);
        _runEnds = std::move(ends);
    }

    /// Makes the script folder, installs the stock scripts, lists, and wires the table. Runs several shell
    /// commands.
    void awakeFromNib();
    /// Appends an entry for every file of the script folder, under the lock; empties nothing first.
    void reloadScripts();
    /// The script folder's path.
    static QString scriptsFolder();

    void lock();
    void unlock();

    using Array = std::vector<ScriptEntryRef>;
    /// The list; wakes first where that has not happened yet.
    Array& array();
    void addObject(const ScriptEntryRef& entry);
    /// Removes every equal entry.
    void removeObject(const ScriptEntryRef& anObject);
    /// An index beyond the list throws std::out_of_range.
    void removeItemAtRow(std::size_t row);
    void removeAllObjects();
    std::size_t count() { return array().size(); }
    QString description() const;
    Array::const_iterator objectEnumerator() { return array().cbegin(); }
    Array::const_reverse_iterator reverseObjectEnumerator() { return array().crbegin(); }
    /// Null before waking; an index beyond the list throws std::out_of_range.
    ScriptEntryRef objectAtIndex(std::uint32_t index);
    ScriptEntryRef objectAtRow(std::uint32_t row);
    void reloadAllTableViews();

    int numberOfRowsInTableView(platform::TableView& table) override;
    QString tableViewObjectValueForTableColumnRow(platform::TableView& table, platform::TableColumn& column,
                                                  int row) override;
    /// The column is read-only, so that no user comes here; the entry refuses the change (std::logic_error).
    void tableViewSetObjectValueForTableColumnRow(platform::TableView& table, const QString& value,
                                                  platform::TableColumn& column, int row);
    void tableViewSortDescriptorsDidChange(platform::TableView& table);
    bool tableViewWriteRowsToPasteboard(platform::TableView& table) override;
    platform::DragOperation tableViewValidateDropProposedRowProposedDropOperation(
        platform::TableView& table, int row, platform::DropOperation operation) override;
    bool tableViewAcceptDropRowDropOperation(platform::TableView& table, int row,
                                             platform::DropOperation operation) override;
    bool rowCanReceiveDrop(int row) const;
    void tableViewSelectionDidChange(platform::TableView& table) override;
    /// What the script says of itself: the first comment line of its file; a null string for none.
    QString tableViewToolTipForRow(platform::TableView& table, int row) override;

    /// Runs the selected row's script; with none selected the list access fails (std::out_of_range).
    void doubleClickAction();
    /// Runs a row's script on the selected images: their paths, one a line, in a temporary file that is its
    /// parameter. Returns when the script has ended.
    void doubleClickOnRow(std::uint32_t row);

 private:
    void runScript(const ScriptEntry& script, const QString& path, const QString& parameter) const;
    void installStockScripts(const QString& folder);
    QString selectedPaths() const;
    QString describeArray() const;

    platform::TableView* scriptsTableView = nullptr;
    QWidget* mainWindow = nullptr;
    ImageBrowserDataSource* imageBrowserDataSource = nullptr;
    std::unique_ptr<Array> _array;
    std::mutex _lock;  ///< guards _array, where an operation says so
    bool _didAwake = false;
    RunBegins _runBegins = [](const QString&) {
    };
    RunEnds _runEnds = [](const QString&, int, const QString&) {
    };
};
