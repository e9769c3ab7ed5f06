// SPDX-License-Identifier: GPL-3.0-or-later
// Page setup, and printing the picture of the window in front.
#include "app/TavlinAppDelegate.h"

#include "app/Texts.h"
#include "platform/desktop/Application.h"
#include "platform/desktop/BusyPointer.h"
#include "platform/printing/PrintInfo.h"
#include "platform/printing/PrintOperation.h"
#include "platform/printing/PrintPage.h"
#include "platform/printing/PrintPanels.h"
#include "platform/printing/PrintProgress.h"
#include "support/Logging.h"
#include "viewer/ImageWindow.h"

#include <QMessageBox>
#include <QPointer>

#include <optional>

using platform::PrintInfo;
using platform::PrintPanel;

namespace {

/// The numbers are no measures: points with a fraction meet a directive for whole numbers.
void logPage(const char* method, const PrintInfo& info) {
    const QMarginsF margins = info.margins();
    logWithMethodName(method, currentLine(), u"leftMargin: %d", margins.left());
    logWithMethodName(method, currentLine(), u"rightMargin: %d", margins.right());
    logWithMethodName(method, currentLine(), u"topMargin: %d", margins.top());
    logWithMethodName(method, currentLine(), u"bottomMargin: %d", margins.bottom());
    const QRectF bounds = info.imageablePageBounds();
    logWithMethodName(method, currentLine(), u"printRect.x: %d", bounds.x());
    logWithMethodName(method, currentLine(), u"printRect.y: %d", bounds.y());
    logWithMethodName(method, currentLine(), u"printRect.width : %d", bounds.width());
    logWithMethodName(method, currentLine(), u"printRect.height: %d", bounds.height());
}

/// Says on the print's own window what became of it.
void showFailure(QWidget& window, const QString& destination) {
    auto* panel = new QMessageBox(QMessageBox::Warning, window.windowTitle(),
                                  text("PrintingFailed").arg(destination), QMessageBox::Ok, &window);
    panel->setTextFormat(Qt::PlainText);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->open();
}

}  // namespace

void TavlinAppDelegate::openPageSetupDialog(QObject* /*sender*/) {
    const QList<QWidget*> windows = platform::Application::shared()->orderedWindows();
    platform::PageLayout::runModal(PrintInfo::sharedPrintInfo(), windows.value(0));
}

void TavlinAppDelegate::openPrintingDialog(QObject* /*sender*/) {
    logWithMethodName("-[TavlinAppDelegate openPrintingDialog:]", currentLine(), u"Start");
    const QList<QWidget*> windows = platform::Application::shared()->orderedWindows();
    if (windows.isEmpty())
        return;
    PrintInfo& info = PrintInfo::sharedPrintInfo();
    info.paginateToFit();
    auto* panel = new PrintPanel(*windows.constFirst());
    panel->beginSheet(info, [this](PrintPanel& ended, int returnCode, QWidget& contextInfo) {
        printingDialogDidClose(ended, returnCode, contextInfo);
    });
}

void TavlinAppDelegate::printingDialogDidClose(PrintPanel& /*panel*/, int returnCode, QWidget& contextInfo) {
    static constexpr auto method = "-[TavlinAppDelegate printingDialogDidClose:returnCode:contextInfo:]";
    logWithMethodName(method, currentLine(), u"Start");
    const QPointer<ImageWindow> printed = qobject_cast<ImageWindow*>(&contextInfo);
    if (returnCode != PrintPanel::ok || printed == nullptr)
        return;
    // The panel and the reading let other things happen: the window may go.
    std::optional<platform::PrintProgress> progress(std::in_place, *printed, text("PrintingProgress"));
    const auto goesOn = [&progress] {
        return progress->goesOn() && !platform::Application::isTerminating();
    };
    platform::PrintPage* view = goesOn() ? printed->printView(goesOn) : nullptr;
    if (view == nullptr || !goesOn())
        return;
    const platform::BusyPointer busy;
    logWithMethodName(method, currentLine(), u"Do the printing...");
    PrintInfo& info = PrintInfo::sharedPrintInfo();
    info.paginateToFit();
    logPage(method, info);
    const bool isPrinted = platform::PrintOperation(*view, info).run();
    progress.reset();
    if (!isPrinted)
        showFailure(*printed, info.destination());
}
