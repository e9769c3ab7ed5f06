// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMimeData>
#include <QStringList>

namespace platform {

/// Files on the clipboard, for file managers to paste (the file list, and what those of GNOME,
/// MATE and KDE read to tell a copy from a cut) and for text fields (a path a line). Each form is made when
/// it is asked for.
class CopiedFiles : public QMimeData {
    Q_OBJECT

 public:
    explicit CopiedFiles(QStringList paths);

    QStringList formats() const override;
    bool hasFormat(const QString& format) const override;

 protected:
    QVariant retrieveData(const QString& format, QMetaType type) const override;

 private:
    QByteArray gnomeList() const;

    const QStringList _paths;
};

}  // namespace platform
