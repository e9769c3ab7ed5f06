// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MainWindow.h"

#include "app/Texts.h"
#include "ui/ImageAndTextCell.h"
#include "ui_MainWindow.h"

#include <QLocale>
#include <QScreen>
#include <QTextDocument>
#include <QTimer>

#include <chrono>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr QSize firstSize(1180, 760);  // points
constexpr int firstPlacesWidth = 240;
constexpr int firstScriptsHeight = 172;
/// A load that is over sooner than this shows no sign of being busy, which would only flicker.
constexpr auto busyDelay = 250ms;

QString number(std::size_t count) {
    return QLocale().toString(static_cast<qulonglong>(count));
}

}  // namespace

MainWindow::MainWindow() : _ui(std::make_unique<Ui::MainWindow>()), _busyDelay(new QTimer(this)) {
    _ui->setupUi(this);
    _busyDelay->setSingleShot(true);
    _busyDelay->setInterval(busyDelay);
    connect(_busyDelay, &QTimer::timeout, this, &MainWindow::updateStatus);
    setUpPanes();
    setUpZoom();
    resize(screen() == nullptr ? firstSize : firstSize.boundedTo(screen()->availableSize() * 9 / 10));
    updateStatus();
}

MainWindow::~MainWindow() = default;

void MainWindow::setUpPanes() {
    _ui->fileBrowserOutline->setColumnIdentifier(QStringLiteral("folders"));
    _ui->fileBrowserOutline->setDataCell(std::make_unique<ImageAndTextCell>());
    _ui->scriptsTableView->setColumnIdentifier(QStringLiteral("scriptNames"));

    _ui->_splitter->setStretchFactor(0, 0);
    _ui->_splitter->setStretchFactor(1, 1);
    _ui->_splitter->setSizes({firstPlacesWidth, firstSize.width() - firstPlacesWidth});
    _ui->_placesSplitter->setStretchFactor(0, 1);
    _ui->_placesSplitter->setStretchFactor(1, 0);
    _ui->_placesSplitter->setSizes({firstSize.height() - firstScriptsHeight, firstScriptsHeight});
    _ui->imageBrowserView->setPositionText(text("MainWindowPicturePosition"));
    _ui->imageBrowserView->setFocus();
}

void MainWindow::setUpZoom() {
    _ui->_zoomOutButton->setGlyph(ZoomButton::Glyph::smallPictures);
    _ui->_zoomOutButton->setAccessibleName(text("MainWindowZoomOutName"));
    _ui->_zoomInButton->setGlyph(ZoomButton::Glyph::largePictures);
    _ui->_zoomInButton->setAccessibleName(text("MainWindowZoomInName"));
    connect(_ui->_zoomOutButton, &QToolButton::clicked, this, &MainWindow::zoomOutAsked);
    connect(_ui->_zoomInButton, &QToolButton::clicked, this, &MainWindow::zoomInAsked);
}

platform::OutlineView& MainWindow::outline() const {
    return *_ui->fileBrowserOutline;
}

platform::TableView& MainWindow::scriptsTable() const {
    return *_ui->scriptsTableView;
}

platform::ImageBrowserView& MainWindow::grid() const {
    return *_ui->imageBrowserView;
}

ZoomSlider& MainWindow::zoomSlider() const {
    return *_ui->_imageBrowserSizeSlider;
}

WindowState MainWindow::state() const {
    return {saveGeometry(),
            _ui->_splitter->saveState(),
            _ui->_placesSplitter->saveState(),
            0,
            zoomSlider().floatValue(),
            QString()};
}

void MainWindow::restore(const WindowState& state) {
    restoreGeometry(state.geometry);
    _ui->_splitter->restoreState(state.splitter);
    _ui->_placesSplitter->restoreState(state.placesSplitter);
    if (state.zoom)
        zoomSlider().setFloatValue(*state.zoom);
}

void MainWindow::setShownFolder(const QString& path, const QString& name) {
    setWindowTitle(name.isEmpty() ? QStringLiteral("Tavlin") : name);
    if (std::exchange(_shownFolder, path) != path)
        clearMessage();
}

void MainWindow::setItemCount(std::size_t count) {
    _itemCount = count;
    updateStatus();
}

void MainWindow::setSelectionCount(std::size_t count) {
    _selectionCount = count;
    updateStatus();
}

void MainWindow::clearMessage() {
    showMessage({});
}

void MainWindow::setEmptyReason(EmptyReason reason) {
    _emptyReason = reason;
    updateStatus();
}

void MainWindow::setLoading(bool isLoading) {
    _isLoading = isLoading;
    _numberFound = 0;
    if (isLoading)
        _busyDelay->start();
    else
        _busyDelay->stop();
    updateStatus();
}

void MainWindow::setNumberFound(std::size_t count) {
    _numberFound = count;
    updateStatus();
}

void MainWindow::showScriptRunning(const QString& scriptName) {
    showMessage(scriptRunningMessage(scriptName));
    _ui->_statusLabel->repaint();
}

void MainWindow::showMessage(const StatusMessage& message) {
    _message = message;
    updateStatus();
}

void MainWindow::updateStatus() {
    const bool showsBusy = _isLoading && !_busyDelay->isActive();
    _ui->_busyIndicator->setVisible(showsBusy);
    _ui->_statusLabel->setToolTip(showsBusy || _message.details.isEmpty()
                                      ? QString()
                                      : Qt::convertFromPlainText(_message.details, Qt::WhiteSpaceNormal));
    if (showsBusy)
        _ui->_statusLabel->setText(text("MainWindowStatusFound").arg(number(_numberFound)));
    else if (!_message.text.isEmpty())
        _ui->_statusLabel->setText(_message.text);
    else if (_selectionCount > 0)
        _ui->_statusLabel->setText(
            text("MainWindowStatusSelected").arg(number(_selectionCount), number(_itemCount)));
    else if (_itemCount == 1)
        _ui->_statusLabel->setText(text("MainWindowStatusOneItem"));
    else
        _ui->_statusLabel->setText(text("MainWindowStatusItems").arg(number(_itemCount)));
    updateEmptyText(showsBusy);
}

/// Until a place is known to hold nothing, nothing is said of it.
void MainWindow::updateEmptyText(bool isBusy) {
    QString said;
    if (_itemCount == 0 && _emptyReason && !isBusy)
        said = text(*_emptyReason == EmptyReason::unreadable ? "MainWindowUnreadableFolder"
                                                             : "MainWindowEmptyFolder");
    _ui->imageBrowserView->setEmptyText(said);
    _ui->imageBrowserView->setAccessibleDescription(said);
}
