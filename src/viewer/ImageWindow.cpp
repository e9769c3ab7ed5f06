// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/ImageWindow.h"

#include "platform/desktop/Bundle.h"
#include "platform/PathBytes.h"
#include "platform/printing/PrintPage.h"
#include "support/Logging.h"
#include "ui_ImageWindow.h"

#include <QCloseEvent>
#include <QFontDatabase>
#include <QScreen>
#include <QShortcut>

namespace {

constexpr QSize firstSize(1120, 720);  // points
constexpr int columnsOfText = 58;      // characters: the keys' column and a usual value
constexpr qreal textSize = 9;          // points
constexpr int textMargin = 10;

}  // namespace

ImageWindow::ImageWindow(ImageWindowController& windowController)
    : _windowController(windowController), _ui(std::make_unique<Ui::ImageWindow>()) {
    logWithMethodName("-[ImageWindow initWithContentRect:styleMask:backing:defer:screen:]", currentLine(),
                      u"Narf!");
    _ui->setupUi(this);
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSizeF(textSize);
    _ui->_textView->setFont(font);
    _ui->_textView->document()->setDocumentMargin(textMargin);
    _ui->_imageView->setBrokenText(
        platform::Bundle::mainBundle().localizedString(QStringLiteral("ImageWindowBrokenPicture")));

    const QSize size =
        screen() == nullptr ? firstSize : firstSize.boundedTo(screen()->availableSize() * 9 / 10);
    resize(size);
    const int textWidth =
        qMin(QFontMetrics(font).horizontalAdvance(QString(columnsOfText, u'0')) + 2 * textMargin,
             size.width() * 2 / 5);
    _ui->_splitView->setStretchFactor(0, 1);
    _ui->_splitView->setStretchFactor(1, 0);
    _ui->_splitView->setSizes({size.width() - textWidth, textWidth});
    _ui->_imageView->setFocus();
    connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this,
            &ImageWindow::close);
}

ImageWindow::~ImageWindow() = default;

platform::ImageView& ImageWindow::imageView() const {
    return *_ui->_imageView;
}

QPlainTextEdit& ImageWindow::textView() const {
    return *_ui->_textView;
}

QSplitter& ImageWindow::splitView() const {
    return *_ui->_splitView;
}

/// A title's "[*]" stands for unsaved changes, of which a picture has none.
void ImageWindow::setTitleWithRepresentedFilename(const QString& path) {
    QString title = platform::displayablePath(platform::lastPathComponent(path));
    setWindowTitle(title.replace(QStringLiteral("[*]"), QStringLiteral("[*][*]")));
    setWindowFilePath(platform::displayablePath(path));
}

void ImageWindow::makeKeyAndOrderFront() {
    show();
    raise();
    activateWindow();
}

void ImageWindow::closeEvent(QCloseEvent* event) {
    QMainWindow::closeEvent(event);
    if (event->isAccepted())
        Q_EMIT willClose();
}
