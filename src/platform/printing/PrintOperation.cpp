// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/printing/PrintOperation.h"

#include "platform/printing/PrintInfo.h"
#include "platform/printing/PrintPage.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QLoggingCategory>
#include <QPainter>
#include <QPicture>
#include <QPointer>
#include <QProgressDialog>
#include <QWindow>

#include <algorithm>
#include <chrono>
#include <memory>

namespace platform {

namespace {

Q_LOGGING_CATEGORY(printingCategory, "tavlin.printing")

using namespace std::chrono_literals;

constexpr auto patience = 300ms;  // that printing waits for its panel to appear

/// Shows a panel without a button as long as it lives, or as the window does, which may go while the panel
/// appears.
class ProgressPanel {
 public:
    ProgressPanel(const QString& text, QWidget* window)
        : _dialog(new QProgressDialog(text, QString(), 0, 0, window)) {
        _dialog->setWindowModality(Qt::WindowModal);
        _dialog->setWindowTitle(window->windowTitle());
        _dialog->setMinimumDuration(0);
        _dialog->show();
        // Nothing else may happen between: the user's input waits.
        const QDeadlineTimer deadline(patience);
        do {
            QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents, 10);
        } while (_dialog && !_dialog->windowHandle()->isExposed() && !deadline.hasExpired());
        if (_dialog)
            _dialog->repaint();
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    }
    ~ProgressPanel() { delete _dialog.data(); }
    ProgressPanel(const ProgressPanel&) = delete;
    ProgressPanel& operator=(const ProgressPanel&) = delete;

 private:
    const QPointer<QProgressDialog> _dialog;
};

/// A writer tells of a full disk by nothing but a file that lacks its end.
bool isWholePdf(const QString& path) {
    constexpr int tail = 32;
    QFile file(path);
    if (!file.open(QFile::ReadOnly))
        return false;
    file.seek(std::max<qint64>(0, file.size() - tail));
    return file.read(tail).contains("%%EOF");
}

}  // namespace

void PrintOperation::showProgress(QWidget& window, const QString& text) {
    _window = &window;
    _progressText = text;
}

bool PrintOperation::run() {
    std::unique_ptr<ProgressPanel> panel;
    if (_window != nullptr)
        panel = std::make_unique<ProgressPanel>(_progressText, _window);
    const bool isFile = _info.printer().outputFormat() == QPrinter::PdfFormat;
    // The panel's appearing let other things happen.
    const bool isDone = _view != nullptr && (isFile ? printFile() : printTo(_info.printer()));
    if (!isDone)
        qCWarning(printingCategory) << "nothing printed to" << _info.destination();
    return isDone;
}

/// By a printer object of its own: one that once failed to write a file never writes another.
bool PrintOperation::printFile() {
    QPrinter printer(QPrinter::HighResolution);
    _info.choice().applyTo(printer);
    printer.setDocName(_info.printer().docName());
    return printTo(printer) && isWholePdf(printer.outputFileName());
}

bool PrintOperation::printTo(QPrinter& printer) {
    if (auto* page = qobject_cast<PrintPage*>(_view))
        page->layOutForPage(_info.imageablePageBounds().size());
    QPainter painter;
    if (!painter.begin(&printer))
        return false;
    paint(painter, printer.resolution());
    return painter.end() && printer.printerState() != QPrinter::Error;
}

void PrintOperation::paint(QPainter& painter, int resolution) {
    const qreal pointsPerUnit = pointsPerInch / _view->logicalDpiY();
    const QSizeF page = _info.imageablePageBounds().size();
    const QSizeF size = QSizeF(_view->size()) * pointsPerUnit;
    qreal scale = 1;
    if (_info.horizontalPagination() == PrintInfo::Pagination::fit)
        scale = std::min(scale, page.width() / size.width());
    if (_info.verticalPagination() == PrintInfo::Pagination::fit)
        scale = std::min(scale, page.height() / size.height());
    scale *= pointsPerUnit * resolution / pointsPerInch;
    painter.scale(scale, scale);
    if (const auto* printPage = qobject_cast<PrintPage*>(_view)) {
        printPage->paint(painter);
        return;
    }
    // Rendered to the printer itself, a widget would come as its pixels.
    QPicture picture;
    QPainter recorder(&picture);
    _view->render(&recorder);
    recorder.end();
    // A recording takes the screen's and the printer's resolutions into account by itself.
    const qreal unit = qreal(_view->logicalDpiY()) / resolution;
    painter.scale(unit, unit);
    painter.drawPicture(0, 0, picture);
}

}  // namespace platform
