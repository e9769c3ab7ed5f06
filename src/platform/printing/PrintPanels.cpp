// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/printing/PrintPanels.h"

#include "platform/Guard.h"

#include <QFileInfo>
#include <QPageSetupDialog>
#include <QPointer>
#include <QPrintDialog>

namespace platform {

namespace {

/// Where the desktop would put a file of this document: beside the last one, under the document's own name.
void proposeFile(QPrinter& printer, const QWidget& window) {
    const QFileInfo document(window.windowFilePath());
    if (document.fileName().isEmpty())
        return;
    printer.setDocName(document.fileName());
    const QFileInfo last(printer.outputFileName());
    if (!last.fileName().isEmpty())
        printer.setOutputFileName(last.path() + u'/' + document.completeBaseName() + QStringLiteral(".pdf"));
}

}  // namespace

void PageLayout::runModal(PrintInfo& info, QWidget* parent) {
    // Only exec() hands on what was agreed to. The parent may go meanwhile, and takes the panel with it.
    const QPointer<QPageSetupDialog> panel = new QPageSetupDialog(&info.printer(), parent);
    panel->exec();
    delete panel.data();
}

PrintPanel::PrintPanel(QWidget& window) : QObject(&window), _window(window) {
}

void PrintPanel::beginSheet(PrintInfo& info, DidEnd didEnd) {
    _info = &info;
    _didEnd = std::move(didEnd);
    _before = info.choice();
    proposeFile(info.printer(), _window);
    _dialog = new QPrintDialog(&info.printer(), &_window);
    _dialog->setOptions(QAbstractPrintDialog::PrintToFile | QAbstractPrintDialog::PrintShowPageSize);
    connect(_dialog, &QDialog::finished, this, &PrintPanel::end);
    _dialog->open();
}

/// Answers from the event loop, so that the sheet has left the screen before the program is busy printing.
void PrintPanel::end(int returnCode) {
    const bool isAgreed = returnCode == QDialog::Accepted && _window.isVisible();
    if (!isAgreed)
        _info->setChoice(_before);
    _dialog->deleteLater();
    QMetaObject::invokeMethod(
        this,
        [this, code = isAgreed ? ok : cancelled] {
            // The window may go meanwhile, and takes the panel with it.
            deleteLater();
            const DidEnd didEnd = std::move(_didEnd);
            guarded("the print panel's end", [&] { didEnd(*this, code, _window); });
        },
        Qt::QueuedConnection);
}

}  // namespace platform
