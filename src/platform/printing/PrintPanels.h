// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/printing/PrintInfo.h"

#include <QObject>

#include <functional>

class QPrintDialog;
class QWidget;

namespace platform {

/// The desktop's panel for paper and margins.
class PageLayout {
 public:
    /// Shows the panel and returns when the user has closed it; only what they agreed to reaches `info`.
    static void runModal(PrintInfo& info, QWidget* parent);
};

/// The desktop's print panel, shown as a sheet on one window. Belongs to that window, ends itself, and
/// vanishes unanswered when the window is destroyed first. Main thread only.
class PrintPanel : public QObject {
    Q_OBJECT

 public:
    static constexpr int cancelled = 0;
    static constexpr int ok = 1;

    /// Is told the result, and the window that the sheet was on, once the sheet is gone from the screen.
    using DidEnd = std::function<void(PrintPanel& panel, int returnCode, QWidget& window)>;

    explicit PrintPanel(QWidget& window);

    /// Returns at once; called once. Only an OK changes `info`, and a window closed meanwhile cancels. The
    /// callback passes the guard.
    void beginSheet(PrintInfo& info, DidEnd didEnd);

 private:
    void end(int returnCode);

    QWidget& _window;
    PrintInfo* _info = nullptr;
    PrintInfo::Choice _before;
    QPrintDialog* _dialog = nullptr;
    DidEnd _didEnd;
};

}  // namespace platform
