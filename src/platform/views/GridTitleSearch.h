// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QObject>
#include <QString>

#include <cstddef>
#include <functional>

namespace platform {

/// Finds items by the first letters of their titles as the user types them. Letters that follow one another
/// within the desktop's typing interval make one prefix; the same letter again steps through the titles that
/// begin with it. Looks on from the current item, round the end, in slices of a few milliseconds, so that a
/// long list never holds the event loop; newer letters overtake. Main thread only.
class GridTitleSearch : public QObject {
    Q_OBJECT

 public:
    using TitleAt = std::function<QString(std::size_t index)>;

    explicit GridTitleSearch(TitleAt titleAt, QObject* parent = nullptr);

    /// Typed letters, with the current item (the first where there is none) and the number of items. What
    /// the first slice finds is reported before this returns.
    void type(const QString& letters, std::size_t current, std::size_t count);
    /// Whether further letters would lengthen a prefix, so that keys with other meanings are letters now.
    bool isTyping() const;
    void stop();

 Q_SIGNALS:
    void found(std::size_t index);

 protected:
    void timerEvent(QTimerEvent* event) override;

 private:
    void searchOneSlice();

    TitleAt _titleAt;
    QString _typed;
    QString _prefix;
    QElapsedTimer _sinceLastLetter;
    QBasicTimer _slices;
    std::size_t _next = 0;
    std::size_t _left = 0;
    std::size_t _count = 0;
};

}  // namespace platform
