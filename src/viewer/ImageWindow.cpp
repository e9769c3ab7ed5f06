// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/ImageWindow.h"

#include "platform/desktop/Bundle.h"
#include "platform/PathBytes.h"
#include "platform/printing/PrintPage.h"
#include "support/Logging.h"
#include "ui_ImageWindow.h"

#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QFontDatabase>
#include <QFontInfo>
#include <QKeyEvent>
#include <QScreen>
#include <QShortcut>
#include <QStyle>

#include <utility>

namespace {

constexpr QSize firstSize(1280, 800);  // points
constexpr int columnsOfText = 53;      // characters: the keys' column and a date with its time
constexpr double largestShare = 0.36;  // of the window that the text takes at first
constexpr qreal textSize = 9;          // points
constexpr int textMargin = 10;

}  // namespace

QFont ImageWindow::fixedFont(qreal points) {
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    if (!QFontInfo(font).fixedPitch()) {
        font.setFamily(QStringLiteral("monospace"));
        font.setStyleHint(QFont::Monospace);
    }
    font.setPointSizeF(points);
    return font;
}

ImageWindow::ImageWindow(ImageWindowController& windowController)
    : _windowController(windowController), _ui(std::make_unique<Ui::ImageWindow>()) {
    logWithMethodName("-[ImageWindow initWithContentRect:styleMask:backing:defer:screen:]", currentLine(),
                      u"Narf!");
    _ui->setupUi(this);
    const QFont font = fixedFont(textSize);
    _ui->_textView->setFont(font);
    _ui->_textView->document()->setDocumentMargin(textMargin);
    _ui->_imageView->setBrokenText(
        platform::Bundle::mainBundle().localizedString(QStringLiteral("ImageWindowBrokenPicture")));

    const QSize size =
        screen() == nullptr ? firstSize : firstSize.boundedTo(screen()->availableSize() * 9 / 10);
    resize(size);
    const int textWidth = qMin(QFontMetrics(font).horizontalAdvance(QString(columnsOfText, u'0')) +
                                   2 * textMargin + style()->pixelMetric(QStyle::PM_ScrollBarExtent),
                               int(size.width() * largestShare));
    _ui->_splitView->setStretchFactor(0, 1);
    _ui->_splitView->setStretchFactor(1, 0);
    setTextWidth(textWidth);
    _ui->_imageView->setFocus();
    connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this,
            &ImageWindow::leaveFullScreenOrClose);
    _ui->_imageView->installEventFilter(this);
    _ui->_textView->installEventFilter(this);
    connect(_ui->_splitView, &QSplitter::splitterMoved, this,
            [this] { Q_EMIT textWidthChanged(this->textWidth()); });
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

void ImageWindow::takePlaceOf(const ImageWindow& other) {
    restoreGeometry(other.saveGeometry());
    setTextWidth(other.textWidth());
}

void ImageWindow::toggleFullScreen() {
    setWindowState(windowState() ^ Qt::WindowFullScreen);
}

void ImageWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange)
        showPartsForState();
}

void ImageWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    showPartsForState();
}

void ImageWindow::showPartsForState() {
    const bool showsAll = !isFullScreen();
    if (menuWidget() != nullptr)  // it may come after the state
        menuWidget()->setVisible(showsAll);
    if (showsAll == !_hiddenTextWidth)
        return;
    _ui->_textView->setVisible(showsAll);
    QPalette colours = palette();
    if (showsAll) {
        setTextWidth(std::exchange(_hiddenTextWidth, std::nullopt).value());
    } else {
        _hiddenTextWidth = _ui->_textView->width();
        colours.setColor(QPalette::Window, Qt::black);
    }
    _ui->_imageView->setPalette(colours);
}

int ImageWindow::textWidth() const {
    return _hiddenTextWidth.value_or(_ui->_textView->width());
}

void ImageWindow::setTextWidth(int textWidth) {
    if (_hiddenTextWidth)
        _hiddenTextWidth = textWidth;
    else
        _ui->_splitView->setSizes({width() - textWidth, textWidth});
}

void ImageWindow::leaveFullScreenOrClose() {
    if (isFullScreen())
        toggleFullScreen();
    else
        close();
}

void ImageWindow::contextMenuEvent(QContextMenuEvent* event) {
    Q_EMIT contextMenuAsked(event->globalPos());
}

bool ImageWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == _ui->_imageView && event->type() == QEvent::KeyPress)
        return stepByKey(*static_cast<QKeyEvent*>(event));
    if (watched == _ui->_textView && event->type() == QEvent::ShortcutOverride &&
        textWants(*static_cast<QKeyEvent*>(event)))
        event->accept();
    return QMainWindow::eventFilter(watched, event);
}

bool ImageWindow::stepByKey(const QKeyEvent& event) {
    const bool isArrow = event.key() == Qt::Key_Left || event.key() == Qt::Key_Right;
    if (!isArrow || (event.modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier ||
        _ui->_imageView->pictureGeometry().isPannable())
        return false;
    Q_EMIT stepAsked(event.key() == Qt::Key_Left ? -1 : 1);
    return true;
}

/// Keys that mean the text while it has the focus, not the file or the next one.
bool ImageWindow::textWants(const QKeyEvent& event) const {
    if (event.matches(QKeySequence::Copy))
        return _ui->_textView->textCursor().hasSelection();
    return event.key() == Qt::Key_PageUp || event.key() == Qt::Key_PageDown;
}

void ImageWindow::closeEvent(QCloseEvent* event) {
    QMainWindow::closeEvent(event);
    if (event->isAccepted())
        Q_EMIT willClose();
}
