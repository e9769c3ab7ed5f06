// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/desktop/Trash.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <vector>

namespace platform {

/// A file that could not be brought back.
struct NotRestored {
    QString path;   ///< where it was
    int error = 0;  ///< an errno value
    bool isInTrash = true;
};

/// What an undo did, the last file first.
struct Restoring {
    QStringList restored;
    std::vector<NotRestored> failed;
};

/// Moves files to the trash, and back again: it remembers what went together, for as long as the program
/// runs. Both wait for the disk. What could not be moved is logged (tavlin.trash). Main thread only.
class Recycler {
 public:
    /// What is recycled while the outermost of these lives comes back as one.
    class Batch {
     public:
        explicit Batch(Recycler& recycler);
        ~Batch();
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;

     private:
        Recycler& _recycler;
    };

    /// 0 when the file is in the trash, otherwise a negative errno value: it is untouched. So is one whose
    /// volume does not answer in time.
    int recycle(const QString& path);

    bool canUndo() const { return !_steps.empty(); }
    /// Brings the last batch back, the last file first, and never over an existing file. What has to stay in
    /// the trash can be tried again: it is the last batch then. A batch of which nothing comes back, and not
    /// for the first time, does not hold up the one before it, which is brought back as well.
    Restoring undo();

 private:
    using Items = std::vector<TrashedItem>;
    struct Step {
        Items items;  ///< never empty
        bool hasFailed = false;
    };
    bool answers(const QString& folder);
    Items restore(const Items& items, Restoring& restoring);

    std::vector<Step> _steps;
    Items _openBatch;
    int _openDepth = 0;
    QHash<QString, bool> _answering;  ///< by folder, while a batch is open or undone
};

}  // namespace platform
