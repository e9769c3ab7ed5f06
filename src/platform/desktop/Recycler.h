// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/desktop/Trash.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <vector>

namespace platform {

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

    bool canUndo() const { return !_batches.empty(); }
    /// Brings the last batch back, the last file first, and answers the paths that are back. Never over an
    /// existing file: such a one stays in the trash, and is forgotten here.
    QStringList undo();

 private:
    using Items = std::vector<TrashedItem>;
    bool answers(const QString& folder);

    std::vector<Items> _batches;  ///< none is empty
    Items _openBatch;
    int _openDepth = 0;
    QHash<QString, bool> _answering;  ///< by folder, while a batch is open or undone
};

}  // namespace platform
