// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "corpus/CorpusRun.h"

#include <QImage>
#include <QSet>
#include <QString>
#include <QStringList>

#include <vector>

/// What a folder's `manifest.tsv` says of its files: a line each, the path within the folder first. Those
/// below "good" must come out right where their format is one that the program shows; of all others it is
/// enough that they do no harm. Without a manifest nothing is expected.
class Manifest {
 public:
    static Manifest read(const QString& folder);

    bool isGood(const QString& path) const { return _good.contains(path); }
    /// Named and not there.
    const QStringList& missing() const { return _missing; }

 private:
    QSet<QString> _good;
    QStringList _missing;
};

/// Whether the program promises to show files of this name's kind.
bool isShownFormat(const QString& path);

/// A picture as a program of others shows it: upright, sRGB, at its own size.
struct ReferencePicture {
    QString program;
    QImage image;
};

/// What libvips and ImageMagick make of the file, in several ways, as none of them is right with every file:
/// with and without its profile, and with a PNG's gamma. What fails, or is not installed, is left out. Of a
/// file that was judged by hand, what a third program makes of it, and nothing else.
std::vector<ReferencePicture> referencesFor(const QString& path);

/// Why neither of the two programs is asked about this file; empty for all but a few, which are named.
QString judgedFor(const QString& path);

/// What is wrong with a good file's picture and metadata; empty where nothing is. A picture is right when its
/// size, and its colours within a small distance, are those that one of the references has: they differ among
/// themselves.
QString mismatch(const CorpusFile& file, const std::vector<ReferencePicture>& references);
