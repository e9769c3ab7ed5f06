// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <atomic>
#include <mutex>

/// The one store of settings and of run-time entries that several rooms share. Keys that contain "Setting"
/// are kept in the user defaults under "PreferencesGlobals"; nothing else is. The per-entry operations take
/// the lock and may be called from any thread; the others belong to the main thread, and those that write
/// (load, addEntriesFromDictionary, plausibilitaetsTest) to its start-up.
class PreferencesDictionary {
 public:
    /// A new, empty store.
    static PreferencesDictionary* dictionary();

    /// Gives every setting a valid value, each by its own rule.
    void plausibilitaetsTest();
    /// Hands the persisted entries to the user defaults, replacing those kept there.
    void save();
    /// Takes the persisted entries from the user defaults over the present ones, then runs the test.
    void load();
    /// All entries in the order of their keys: "{key = value; }".
    QString description() const;

    /// The store's own lock, which is not re-entrant: who holds it must neither use the per-entry operations,
    /// description() and save(), nor log.
    void lock();
    void unlock();

    void setObjectForKey(const QVariant& object, const QString& key);
    void removeObjectForKey(const QString& key);
    /// An invalid value for an absent key.
    QVariant objectForKey(const QString& key) const;
    /// What the debug log's entry says now. Any thread, without the lock, as every log call asks it.
    bool isDebugLogging() const { return _isDebugLogging.load(std::memory_order_relaxed); }

    void addEntriesFromDictionary(const QVariantMap& dictionary);
    QStringList keyEnumerator() const;

 private:
    PreferencesDictionary() = default;
    void put(const QString& key, const QVariant& object);
    /// All entries in the order of their keys, taken under the lock.
    QVariantMap copy() const;

    QHash<QString, QVariant> _dict;
    std::atomic<bool> _isDebugLogging = false;  ///< follows that entry of _dict
    mutable std::mutex _lock;  ///< guards _dict against the per-entry operations of other threads
};

/// Set once at start-up, before any other thread is there; never destroyed while the process runs.
extern PreferencesDictionary* appGlobals;
