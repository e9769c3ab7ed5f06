// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/desktop/Bundle.h"
#include "platform/desktop/PanelWindow.h"
#include "platform/desktop/WindowController.h"

#include <memory>

class QButtonGroup;
class QCheckBox;

namespace Ui {
class PreferencesWindow;
}

/// The preferences window: shows the eight settings of the store and writes every change back at once. Nobody
/// is told of a change; readers ask the store each time. What the user chose holds for the rest of the run;
/// the rules of the store apply to it when it is loaded again. The controls are those of the interface
/// description, found by their names (_debugLoggingCheckbox ...). Main thread only.
class TavlinPreferencesWindowController : public platform::WindowController {
    Q_OBJECT

 public:
    /// Builds, fills and shows the window, and saves the settings once; the texts are the bundle's, which is
    /// borrowed for the call.
    explicit TavlinPreferencesWindowController(
        const QString& windowNibName, const platform::Bundle& bundle = platform::Bundle::mainBundle());
    ~TavlinPreferencesWindowController() override;

    QWidget* window() const override { return _window.get(); }

    /// What every control does when the user changes it.
    void settingChanged(QObject* sender);
    /// Copies the state of all controls to the store and saves that.
    void saveSettings();

 private:
    void loadWindow();
    void windowWillLoad();
    void windowDidLoad();
    void setLabels(const platform::Bundle& bundle);
    void showSettings();
    void connectControls();
    void windowWillCloseNotification();

    std::unique_ptr<Ui::PreferencesWindow> _ui;
    std::unique_ptr<platform::PanelWindow> _window;
};
