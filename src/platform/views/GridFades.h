// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QString>

namespace platform {

/// Which pictures are fading in, and how far. Only cells that fade cost anything. Main thread only.
class GridFades : public QObject {
    Q_OBJECT

 public:
    static constexpr int milliseconds = 160;

    using QObject::QObject;

    void start(const QString& path);
    void clear();
    /// 0 to 1, eased; 1 for what does not fade.
    double presence(const QString& path) const;

 Q_SIGNALS:
    /// One frame on: this path's cell looks different.
    void stepped(const QString& path);

 protected:
    void timerEvent(QTimerEvent* event) override;

 private:
    QElapsedTimer _clock;
    QHash<QString, qint64> _starts;  ///< by path, on _clock
    QBasicTimer _frames;
};

}  // namespace platform
