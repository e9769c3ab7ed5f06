// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/StatusMessage.h"
#include "app/WindowState.h"

#include <QMainWindow>
#include <QString>

#include <cstddef>
#include <memory>
#include <optional>

class QTimer;
class ZoomSlider;

namespace Ui {
class MainWindow;
}

namespace platform {
class ImageBrowserView;
class OutlineView;
class TableView;
}  // namespace platform

/// Why a place shows nothing.
enum class EmptyReason { nothingInIt, unreadable };

/// The main window as a set of panes: places above scripts at the left, the grid of pictures beside them with
/// a line under it that tells what is shown and holds the zoom slider. It knows no data source; the main
/// interface connects it. Main thread only.
class MainWindow : public QMainWindow {
    Q_OBJECT

 public:
    MainWindow();
    ~MainWindow() override;

    platform::OutlineView& outline() const;
    platform::TableView& scriptsTable() const;
    platform::ImageBrowserView& grid() const;
    ZoomSlider& zoomSlider() const;

    /// Everything but the folder, which belongs to the places, and what belongs to other windows.
    WindowState state() const;
    void restore(const WindowState& state);

    /// The shown folder, and its display name for the title; empty for none.
    void setShownFolder(const QString& path, const QString& name);
    void setItemCount(std::size_t count);
    void setSelectionCount(std::size_t count);
    /// What was done last is said no longer.
    void clearMessage();
    /// What the grid says while it shows nothing; until the first reason it says nothing.
    void setEmptyReason(EmptyReason reason);
    void setLoading(bool isLoading);
    /// How many items the load under way has found.
    void setNumberFound(std::size_t count);
    /// Says so at once, as the program is blocked until the script has ended.
    void showScriptRunning(const QString& scriptName);
    /// Of what was done last: stays until the user does or selects something else.
    void showMessage(const StatusMessage& message);

 Q_SIGNALS:
    void zoomInAsked();
    void zoomOutAsked();

 private:
    void setUpPanes();
    void setUpZoom();
    void updateStatus();
    void updateEmptyText(bool isBusy);

    std::unique_ptr<Ui::MainWindow> _ui;
    QTimer* _busyDelay;
    std::size_t _itemCount = 0;
    std::size_t _selectionCount = 0;
    std::size_t _numberFound = 0;
    bool _isLoading = false;
    StatusMessage _message;
    QString _shownFolder;
    std::optional<EmptyReason> _emptyReason;
};
