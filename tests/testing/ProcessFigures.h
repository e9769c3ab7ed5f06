// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDir>
#include <QFile>
#include <QString>

#include <algorithm>

/// What a running process uses, as the kernel tells.
struct ProcessFigures {
    qint64 memory =
        0;  ///< KiB that are its own: its share of what it has in common with others is not counted
    qsizetype descriptors = 0;
    qsizetype threads = 0;
    QList<qint64> children;

    static ProcessFigures of(qint64 processId) {
        const QString folder = QStringLiteral("/proc/%1/").arg(processId);
        ProcessFigures figures;
        for (const QByteArray& line : contentsOf(folder + QStringLiteral("smaps_rollup")).split('\n'))
            if (line.startsWith("Anonymous:"))
                figures.memory = line.simplified().split(' ').value(1).toLongLong();
        const QDir::Filters all = QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot;
        figures.descriptors = QDir(folder + QStringLiteral("fd")).entryList(all).size();
        const QStringList threads = QDir(folder + QStringLiteral("task")).entryList(all);
        figures.threads = threads.size();
        for (const QString& thread : threads) {
            const QByteArray list = contentsOf(folder + QStringLiteral("task/%1/children").arg(thread));
            for (const QByteArray& child : list.simplified().split(' '))
                if (!child.isEmpty())
                    figures.children += child.toLongLong();
        }
        return figures;
    }

    /// How many files below the folder this process has open.
    static qsizetype openFilesBelow(const QString& folder) {
        const QDir descriptors(QStringLiteral("/proc/self/fd"));
        const QStringList all = descriptors.entryList(QDir::Files | QDir::System);
        return std::count_if(all.begin(), all.end(), [&](const QString& each) {
            return QFile::symLinkTarget(descriptors.filePath(each)).startsWith(folder + u'/');
        });
    }

    QString text() const {
        return QStringLiteral("%1 KiB, %2 descriptors, %3 threads, %4 children")
            .arg(memory)
            .arg(descriptors)
            .arg(threads)
            .arg(children.size());
    }

    static QByteArray contentsOf(const QString& path) {
        QFile file(path);
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }
};
