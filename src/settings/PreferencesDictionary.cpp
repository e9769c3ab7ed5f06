// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/PreferencesDictionary.h"

#include "platform/desktop/UserDefaults.h"
#include "settings/PreferenceKeys.h"
#include "support/Logging.h"

#include <array>
#include <optional>

using platform::boolReading;
using platform::integerReading;
using platform::UserDefaults;

PreferencesDictionary* appGlobals = nullptr;

namespace {

const QString defaultsKey = QStringLiteral("PreferencesGlobals");

bool isPersisted(const QString& key) {
    return key.contains(QStringLiteral("Setting"));
}

/// When a setting's present value is kept, and what replaces it otherwise.
struct Rule {
    enum class Keeps { ifTrue, ifFalse, ifNotNegative };

    const QString& key;
    Keeps keeps;
    bool replacement;

    bool isKept(const QVariant& value) const {
        if (!value.isValid())
            return false;
        switch (keeps) {
            case Keeps::ifTrue:
                return boolReading(value);
            case Keeps::ifFalse:
                return !boolReading(value);
            case Keeps::ifNotNegative:
                return integerReading(value) >= 0;
        }
        return false;
    }
};

/// The general and EXIF rows replace true by false on purpose: printing those blocks holds for one run only.
const std::array<Rule, 8> rules{{
    {PreferenceKeys::debugLogging, Rule::Keeps::ifTrue, false},
    {PreferenceKeys::placesBrowserSort, Rule::Keeps::ifNotNegative, false},
    {PreferenceKeys::imageBrowserAnimation, Rule::Keeps::ifFalse, true},
    {PreferenceKeys::imageBrowserRecursive, Rule::Keeps::ifTrue, false},
    {PreferenceKeys::imagesBrowserSort, Rule::Keeps::ifNotNegative, false},
    {PreferenceKeys::printGeneralMetadata, Rule::Keeps::ifFalse, false},
    {PreferenceKeys::printIPTCMetadata, Rule::Keeps::ifFalse, true},
    {PreferenceKeys::printEXIFMetadata, Rule::Keeps::ifFalse, false},
}};

}  // namespace

PreferencesDictionary* PreferencesDictionary::dictionary() {
    return new PreferencesDictionary;
}

void PreferencesDictionary::plausibilitaetsTest() {
    constexpr const char* name = "-[PreferencesDictionary plausibilitaetsTest]";
    const auto describeStore = [this] {
        return description();
    };
    logWithMethodName(name, 153, u"1 _dict: %@", describeStore);
    for (const Rule& rule : rules)
        if (!rule.isKept(_dict.value(rule.key)))
            put(rule.key, rule.replacement);
    logWithMethodName(name, 209, u"2 _dict: %@", describeStore);
    logWithMethodName(name, 210, u"foo");
}

void PreferencesDictionary::save() {
    constexpr const char* name = "-[PreferencesDictionary save]";
    logWithMethodName(name, 129, u"Saving dict. Complete global _dict: %@", [this] { return description(); });
    QVariantMap dictToSave = copy();
    dictToSave.removeIf([](const auto& entry) { return !isPersisted(entry.key()); });
    UserDefaults::standardUserDefaults().setDictionaryForKey(dictToSave, defaultsKey);
    logWithMethodName(name, 147, u"Saving dictToSave: %@", dictToSave);
}

void PreferencesDictionary::load() {
    constexpr const char* name = "-[PreferencesDictionary load]";
    const auto describeStore = [this] {
        return description();
    };
    logWithMethodName(name, 96, u"Loading _dict (complete global): %@", describeStore);
    std::optional<QVariantMap> dictToLoad =
        UserDefaults::standardUserDefaults().dictionaryForKey(defaultsKey);
    if (dictToLoad) {
        logWithMethodName(name, 100, u"Loading dictToLoad: %@", dictToLoad);
        dictToLoad->removeIf([](const auto& entry) { return !isPersisted(entry.key()); });
        addEntriesFromDictionary(*dictToLoad);
    }
    plausibilitaetsTest();
    logWithMethodName(name, 120, u"Loading dictToLoad: %@", dictToLoad);
    logWithMethodName(name, 121, u"Loading _dict (globals): %@", describeStore);
}

QString PreferencesDictionary::description() const {
    return logging::describe(copy()).text;
}

void PreferencesDictionary::lock() {
    _lock.lock();
}

void PreferencesDictionary::unlock() {
    _lock.unlock();
}

void PreferencesDictionary::setObjectForKey(const QVariant& object, const QString& key) {
    const std::scoped_lock guard(_lock);
    put(key, object);
}

void PreferencesDictionary::removeObjectForKey(const QString& key) {
    const std::scoped_lock guard(_lock);
    _dict.remove(key);
    if (key == PreferenceKeys::debugLogging)
        _isDebugLogging = false;
}

QVariant PreferencesDictionary::objectForKey(const QString& key) const {
    const std::scoped_lock guard(_lock);
    return _dict.value(key);
}

void PreferencesDictionary::addEntriesFromDictionary(const QVariantMap& dictionary) {
    for (auto entry = dictionary.cbegin(); entry != dictionary.cend(); ++entry)
        put(entry.key(), entry.value());
}

QStringList PreferencesDictionary::keyEnumerator() const {
    return _dict.keys();
}

void PreferencesDictionary::put(const QString& key, const QVariant& object) {
    _dict.insert(key, object);
    if (key == PreferenceKeys::debugLogging)
        _isDebugLogging = boolReading(object);
}

QVariantMap PreferencesDictionary::copy() const {
    QVariantMap sorted;
    const std::scoped_lock guard(_lock);
    for (auto entry = _dict.cbegin(); entry != _dict.cend(); ++entry)
        sorted.insert(entry.key(), entry.value());
    return sorted;
}
