// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/desktop/Bundle.h"
#include "platform/desktop/PanelWindow.h"
#include "platform/desktop/WindowController.h"

#include <memory>

class QUrl;

namespace Ui {
class AboutWindow;
}

/// The About window: the version line, the credits, and two buttons that open the maker's home page and the
/// donation form in the user's browser. A text or a file that is missing leaves its place empty. The controls
/// are those of the interface description, found by their names; the text view scrolls itself, so that it is
/// also the scroll view. The window is no tool window, so it stays when another program comes to the front.
/// Main thread only.
class TavlinAboutWindowController : public platform::WindowController {
    Q_OBJECT

 public:
    /// Builds and shows the window from the bundle's texts, version and credits; the bundle is borrowed for
    /// the call.
    TavlinAboutWindowController(const QString& windowNibName, QObject* sender,
                                const platform::Bundle& bundle = platform::Bundle::mainBundle());
    ~TavlinAboutWindowController() override;

    QWidget* window() const override { return _window.get(); }

    /// The build's TAVLIN_HOME_HOST, by plain HTTP.
    static QUrl homeAddress();
    /// The build's TAVLIN_PAYMENT_HOST and TAVLIN_PAYMENT_ACCOUNT. The service takes its parameters as a part
    /// of the path: no question mark goes before them.
    static QUrl donationAddress();

    void aboutGoToHomeButton();
    void aboutGoToDonationButton();
    void close();

 private:
    void setTexts(const platform::Bundle& bundle);
    void showCredits(const platform::Bundle& bundle);
    void windowWillCloseNotification();

    std::unique_ptr<Ui::AboutWindow> _ui;
    std::unique_ptr<platform::PanelWindow> _window;
};
