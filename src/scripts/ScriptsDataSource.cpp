// SPDX-License-Identifier: GPL-3.0-or-later
#include "scripts/ScriptsDataSource.h"

#include "images/ImageBrowserDataSource.h"
#include "platform/desktop/Bundle.h"
#include "platform/desktop/BusyPointer.h"
#include "platform/PropertyValue.h"
#include "scripts/ScriptComment.h"
#include "support/Logging.h"
#include "support/PathAndListHelpers.h"
#include "support/Shell.h"

#include <QStringList>

#include <algorithm>

namespace {

/// Takes the library's lock for a scope, with its log lines.
class ScopedScriptsLock {
 public:
    explicit ScopedScriptsLock(ScriptsDataSource& library) : _library(library) { _library.lock(); }
    ~ScopedScriptsLock() { _library.unlock(); }
    ScopedScriptsLock(const ScopedScriptsLock&) = delete;
    ScopedScriptsLock& operator=(const ScopedScriptsLock&) = delete;

 private:
    ScriptsDataSource& _library;
};

std::vector<platform::PropertyValue> propertyValues(const QStringList& texts) {
    return {texts.begin(), texts.end()};
}

/// The types of scripts that may ship with the program.
const QStringList stockScriptTypes{QStringLiteral("applescript"), QStringLiteral("sh"), QStringLiteral("py")};

}  // namespace

void ScriptsDataSource::awakeFromNib() {
    constexpr auto method = "-[ScriptsDataSource awakeFromNib]";
    logWithMethodName(method, 21, u"Awaking!");
    _array = std::make_unique<Array>();
    createFolder(getUserFolder(userFolderTemplate(UserFolder::applicationSupport)));
    const QString folder = scriptsFolder();
    createFolder(folder);
    installStockScripts(folder);
    reloadScripts();
    reloadAllTableViews();
    _didAwake = true;
    if (scriptsTableView != nullptr) {
        scriptsTableView->setDoubleAction([this] { doubleClickAction(); });
        scriptsTableView->registerForDraggedFileNames();
    }
    logWithMethodName(method, 63, u"Awaking done!");
}

QString ScriptsDataSource::scriptsFolder() {
    return getUserFolder(userFolderTemplate(UserFolder::scripts));
}

void ScriptsDataSource::installStockScripts(const QString& folder) {
    const platform::Bundle& bundle = platform::Bundle::mainBundle();
    QStringList resources;
    for (const QString& type : stockScriptTypes)
        resources += bundle.pathsForResourcesOfType(type);
    const QString privateScripts = bundle.resourcePath() + QStringLiteral("/_");
    for (const auto& script :
         createNewArrayFromArrayWithoutStringContaining(propertyValues(resources), privateScripts)) {
        const QString path = script.description();
        logWithMethodName("-[ScriptsDataSource awakeFromNib]", 41, u"anLine: %@", path);
        executeScriptAndCollectOutput(QStringLiteral("cp \"") + path + QStringLiteral("\" \"") + folder +
                                      QStringLiteral("/\""));
    }
}

void ScriptsDataSource::reloadScripts() {
    constexpr auto method = "-[ScriptsDataSource reloadScripts]";
    const auto address = [this] {
        return static_cast<const void*>(_array.get());
    };
    const auto contents = [this] {
        return describeArray();
    };
    logWithMethodName(method, 138, u"Start.");
    {
        const ScopedScriptsLock locked(*this);
        logWithMethodName(method, 150, u"1_array (p): %p", address);
        logWithMethodName(method, 151, u"1_array: %@", contents);
        const QString folder = scriptsFolder();
        const auto lines = executeScriptAndCollectOutput(QStringLiteral("ls -1 \"") + folder + u'"');
        const auto appleScriptNames =
            createNewArrayFromArrayWithoutString(propertyValues(lines.value_or(QStringList())), QString());
        logWithMethodName(method, 157, u"appleScriptNames: %@", [&] {
            return platform::PropertyValue(platform::PropertyValue::Array{appleScriptNames});
        });
        for (const auto& name : appleScriptNames)
            _array->push_back(
                std::make_shared<const ScriptEntry>(name.description(), folder + u'/' + name.description()));
    }
    logWithMethodName(method, 169, u"2_array (p): %p", address);
    logWithMethodName(method, 170, u"2_array: %@", contents);
    logWithMethodName(method, 172, u"End.");
}

void ScriptsDataSource::lock() {
    constexpr auto method = "-[ScriptsDataSource lock]";
    logWithMethodName(method, 306, u"lock! (stock and two smoking barrels)");
    _lock.lock();
    logWithMethodName(method, 308, u"lock done!");
}

void ScriptsDataSource::unlock() {
    constexpr auto method = "-[ScriptsDataSource unlock]";
    logWithMethodName(method, 315, u"unlock!");
    _lock.unlock();
    logWithMethodName(method, 317, u"unlock done!");
}

ScriptsDataSource::Array& ScriptsDataSource::array() {
    if (!_array)
        awakeFromNib();
    return *_array;
}

void ScriptsDataSource::addObject(const ScriptEntryRef& entry) {
    constexpr auto method = "-[ScriptsDataSource addObject:]";
    logWithMethodName(method, 272, u"addObject: %@", [&] { return entry->description(); });
    array().push_back(entry);
    reloadAllTableViews();
    logWithMethodName(method, 284, u"done.");
}

void ScriptsDataSource::removeObject(const ScriptEntryRef& anObject) {
    constexpr auto method = "-[ScriptsDataSource removeObject:]";
    // The list has one owner by its type, the data source.
    logWithMethodName(method, 330, u"array's retaincount: %i", 1);
    logWithMethodName(method, 331, u"anObject's retaincount: %i", anObject.use_count());
    logWithMethodName(method, 335, u"anObject's inhalt: %@", [&] { return anObject->description(); });
    logWithMethodName(method, 337, u"Das Dict aus dem Array der DataSource grillen.");
    std::erase_if(array(), [entry = anObject](const ScriptEntryRef& other) { return *other == *entry; });
    logWithMethodName(method, 339, u"remove done, reloadink.");
    reloadAllTableViews();
    logWithMethodName(method, 342, u"removeObject done.");
}

void ScriptsDataSource::removeItemAtRow(std::size_t row) {
    logWithMethodName("-[ScriptsDataSource removeItemAtRow:]", 323, u"Trying to remove row: %i", row);
    Array& list = array();
    static_cast<void>(list.at(row));
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(row));
}

void ScriptsDataSource::removeAllObjects() {
    logWithMethodName("-[ScriptsDataSource removeAllObjects]", 265, u"Hau wech!");
    array().clear();
}

QString ScriptsDataSource::describeArray() const {
    QStringList parts;
    if (_array)
        for (const ScriptEntryRef& entry : *_array)
            parts += entry->description();
    return u'(' + parts.join(QStringLiteral(", ")) + u')';
}

QString ScriptsDataSource::description() const {
    return describeArray();
}

ScriptEntryRef ScriptsDataSource::objectAtIndex(std::uint32_t index) {
    constexpr auto method = "-[ScriptsDataSource objectAtIndex:]";
    logWithMethodName(method, 442, u"index: %u", index);
    logWithMethodName(method, 443, u"_array (p): %p", static_cast<const void*>(_array.get()));
    logWithMethodName(method, 444, u"_array: %@", [this] { return describeArray(); });
    ScriptEntryRef object;
    if (!_didAwake)
        logWithMethodName(method, 448, u"not awoken yet");
    else if (!_array)
        logWithMethodName(method, 459, u"Error: _array is nil!");
    else
        object = _array->at(index);
    logWithMethodName(method, 462, u"returning object (p): %p", static_cast<const void*>(object.get()));
    return object;
}

ScriptEntryRef ScriptsDataSource::objectAtRow(std::uint32_t row) {
    logWithMethodName("-[ScriptsDataSource objectAtRow:]", 470, u"row: %u", row);
    return objectAtIndex(row);
}

void ScriptsDataSource::reloadAllTableViews() {
    logWithMethodName("-[ScriptsDataSource reloadAllTableViews]", 499, u"scriptsTableView: %p",
                      static_cast<const void*>(scriptsTableView));
    if (scriptsTableView != nullptr)
        scriptsTableView->reloadData();
}

int ScriptsDataSource::numberOfRowsInTableView(platform::TableView&) {
    return static_cast<int>(count());
}

QString ScriptsDataSource::tableViewObjectValueForTableColumnRow(platform::TableView&,
                                                                 platform::TableColumn& column, int row) {
    constexpr auto method = "-[ScriptsDataSource tableView:objectValueForTableColumn:row:]";
    logWithMethodName(method, 192, u"Start.");
    logWithMethodName(method, 193, u"_didAwake: %d", _didAwake);
    if (!_didAwake) {
        logWithMethodName(method, 197, u"not awoken yet");
        return {};
    }
    std::optional<QString> result;
    {
        const ScopedScriptsLock locked(*this);
        const ScriptEntryRef entry = objectAtRow(static_cast<std::uint32_t>(row));
        if (column.identifier() == u"scriptNames") {
            result = entry->objectForKey(u"ScriptNameKey");
            logWithMethodName(method, 212, u"1result: %@", result);
        } else {
            logWithMethodName(method, 216, u"unknown column! WTF R U DOINK?");
        }
        logWithMethodName(method, 218, u"2result: %@", result);
    }
    logWithMethodName(method, 224, u"End.");
    return result.value_or(QString());
}

void ScriptsDataSource::tableViewSetObjectValueForTableColumnRow(platform::TableView&, const QString& value,
                                                                 platform::TableColumn& column, int row) {
    constexpr auto method = "-[ScriptsDataSource tableView:setObjectValue:forTableColumn:row:]";
    logWithMethodName(method, 413, u"Huhu!");
    {
        const ScopedScriptsLock locked(*this);
        const ScriptEntryRef entry = objectAtRow(static_cast<std::uint32_t>(row));
        if (column.identifier() != u"scriptNames")
            logWithMethodName(method, 428, u"unknown column! WTF R U DOINK?");
        else if (entry != nullptr)
            entry->setObjectForKey(value, u"ScriptNameKey");
    }
    reloadAllTableViews();
}

void ScriptsDataSource::tableViewSortDescriptorsDidChange(platform::TableView&) {
    logWithMethodName("-[ScriptsDataSource tableView:sortDescriptorsDidChange:]", 479, u"Huhu");
}

bool ScriptsDataSource::tableViewWriteRowsToPasteboard(platform::TableView&) {
    logWithMethodName("-[ScriptsDataSource tableView:writeRows:toPasteboard:]", 484, u"Huhu");
    return false;
}

platform::DragOperation ScriptsDataSource::tableViewValidateDropProposedRowProposedDropOperation(
    platform::TableView&, int row, platform::DropOperation operation) {
    constexpr auto method = "-[ScriptsDataSource tableView:validateDrop:proposedRow:proposedDropOperation:]";
    logWithMethodName(method, 359, u"Start");
    const bool accepted = operation == platform::DropOperation::on && rowCanReceiveDrop(row);
    const auto result = accepted ? platform::DragOperation::generic : platform::DragOperation::none;
    logWithMethodName(method, 368, u"result: %i", result);
    logWithMethodName(method, 369, u"End");
    return result;
}

bool ScriptsDataSource::tableViewAcceptDropRowDropOperation(platform::TableView&, int row,
                                                            platform::DropOperation) {
    constexpr auto method = "-[ScriptsDataSource tableView:acceptDrop:row:dropOperation:]";
    logWithMethodName(method, 396, u"Start");
    doubleClickOnRow(static_cast<std::uint32_t>(row));
    logWithMethodName(method, 407, u"Ende");
    return true;
}

bool ScriptsDataSource::rowCanReceiveDrop(int) const {
    return true;
}

void ScriptsDataSource::tableViewSelectionDidChange(platform::TableView& table) {
    constexpr auto method = "-[ScriptsDataSource tableViewSelectionDidChange:]";
    logWithMethodName(method, 491, u"TableView sending this notification: %p",
                      static_cast<const void*>(&table));
    logWithMethodName(method, 493, u"ignoring event!");
}

QString ScriptsDataSource::tableViewToolTipForRow(platform::TableView&, int row) {
    if (!_didAwake)
        return {};
    const ScriptEntryRef entry = _array->at(static_cast<std::size_t>(row));
    return firstCommentOfScript(entry->objectForKey(u"ScriptURLKey").value_or(QString()));
}

void ScriptsDataSource::doubleClickAction() {
    logWithMethodName("-[ScriptsDataSource doubleClickAction]", 69, u"Start");
    doubleClickOnRow(static_cast<std::uint32_t>(scriptsTableView->selectedRow()));
}

QString ScriptsDataSource::selectedPaths() const {
    QString content;
    const platform::IndexSet selection = imageBrowserDataSource->selectedItems();
    if (selection.isEmpty())
        logWithMethodName("-[ScriptsDataSource doubleClickOnRow:]", 104, u"Nothing selected...");
    selection.forEach(
        [&](std::size_t index) { content += imageBrowserDataSource->urlAtIndex(index) + u'\n'; });
    return content;
}

void ScriptsDataSource::runScript(const ScriptEntry& script, const QString& path,
                                  const QString& parameter) const {
    const QString name = script.objectForKey(u"ScriptNameKey").value_or(QString());
    const platform::BusyPointer busy;
    _runBegins(name);
    QString errors;
    const int status = runScriptWithParameter(path, parameter, &errors);
    _runEnds(name, status, errors);
}

void ScriptsDataSource::doubleClickOnRow(std::uint32_t row) {
    constexpr auto method = "-[ScriptsDataSource doubleClickOnRow:]";
    logWithMethodName(method, 80, u"Start");
    const ScriptEntryRef objectDict = objectAtRow(row);
    const auto scriptURL = objectDict ? objectDict->objectForKey(u"ScriptURLKey") : std::nullopt;
    if (!objectDict) {
        logWithMethodName(method, 129, u"Error: objectDict is nil!");
    } else if (!scriptURL) {
        logWithMethodName(method, 124, u"Error: scriptURL is nil!");
    } else {
        logWithMethodName(method, 89, u"scriptURL is valid (%@), preparing arguments...", scriptURL);
        const QString content = selectedPaths();
        logWithMethodName(method, 107, u"Writing tempfile...(%@)", content);
        const QString parameter =
            createTempFileWithContentString(content, QStringLiteral("_ScriptsDataSource_doubleClickAction"));
        logWithMethodName(method, 110, u"Launching script...");
        runScript(*objectDict, *scriptURL, parameter);
        deleteFileAtPath(parameter);
    }
    logWithMethodName(method, 132, u"End");
}
