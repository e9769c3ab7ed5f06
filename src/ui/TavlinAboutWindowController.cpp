// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/TavlinAboutWindowController.h"

#include "platform/desktop/Workspace.h"
#include "support/Logging.h"
#include "ui_AboutWindow.h"

#include <QFile>
#include <QFontInfo>
#include <QIcon>
#include <QScreen>
#include <QUrl>

#include <optional>
#include <tuple>

namespace {

constexpr auto initMethod = "-[TavlinAboutWindowController initWithWindowNibName:sender:]";
constexpr int iconSize = 64;          // points
constexpr QSize sizeInLines(38, 34);  // of the window, in lines of its font
constexpr qreal creditsMargin = 8;    // points

void open(const QUrl& address) {
    // No program for it, or one that does not start, is no matter of this window's.
    std::ignore = platform::Workspace::sharedWorkspace().openUrl(address);
}

}  // namespace

TavlinAboutWindowController::TavlinAboutWindowController(const QString& windowNibName, QObject* /*sender*/,
                                                         const platform::Bundle& bundle)
    : _ui(std::make_unique<Ui::AboutWindow>()) {
    logWithMethodName(initMethod, currentLine(), u"nibName: %@", windowNibName);
    _window = std::make_unique<platform::PanelWindow>();
    _ui->setupUi(_window.get());
    logWithMethodName(initMethod, currentLine(), u"window: %p", _window.get());
    setTexts(bundle);
    showCredits(bundle);
    _window->resize((sizeInLines * _window->fontMetrics().height())
                        .boundedTo(_window->screen()->availableSize() * 9 / 10));
    connect(_ui->_goToHomeButton, &QPushButton::clicked, this,
            &TavlinAboutWindowController::aboutGoToHomeButton);
    connect(_ui->_donateButton, &QPushButton::clicked, this,
            &TavlinAboutWindowController::aboutGoToDonationButton);
    connect(_window.get(), &platform::PanelWindow::aboutToClose, this,
            &TavlinAboutWindowController::windowWillCloseNotification);
    _window->makeKeyAndOrderFront();
}

TavlinAboutWindowController::~TavlinAboutWindowController() = default;

void TavlinAboutWindowController::setTexts(const platform::Bundle& bundle) {
    _ui->_iconLabel->setPixmap(
        bundle.applicationIcon().pixmap(QSize(iconSize, iconSize), _window->devicePixelRatio()));
    QFont font = _ui->_aboutTextField->font();
    font.setPointSizeF(QFontInfo(font).pointSizeF() * 1.2);
    font.setBold(true);
    _ui->_aboutTextField->setFont(font);
    _ui->_aboutTextField->setText(bundle.objectForInfoDictionaryKey(QStringLiteral("CFBundleGetInfoString")));
    logWithMethodName(initMethod, currentLine(), u"_aboutTextField: %p", _ui->_aboutTextField);
    logWithMethodName(initMethod, currentLine(), u"aboutTextField: %@", _ui->_aboutTextField->text());

    _window->setWindowTitle(bundle.localizedString(QStringLiteral("AboutWindowWindowTitle")));
    _ui->_goToHomeButton->setText(bundle.localizedString(QStringLiteral("AboutWindowGoToHomeButtonTitle")));
    _ui->_donateButton->setText(bundle.localizedString(QStringLiteral("AboutWindowDonateButtonTitle")));
    _ui->_aboutTextView->setAccessibleName(bundle.localizedString(QStringLiteral("AboutWindowCreditsName")));
}

void TavlinAboutWindowController::showCredits(const platform::Bundle& bundle) {
    const QString path = bundle.pathForResourceOfType(QStringLiteral("Credits"), QStringLiteral("html"));
    logWithMethodName(initMethod, currentLine(), u"creditsPath: %@",
                      path.isNull() ? std::nullopt : std::optional(path));
    QFile file(path);
    if (file.open(QFile::ReadOnly))
        _ui->_aboutTextView->setHtml(QString::fromUtf8(file.readAll()));
    _ui->_aboutTextView->document()->setDocumentMargin(creditsMargin);
}

QUrl TavlinAboutWindowController::homeAddress() {
    return QUrl(QStringLiteral("http://" TAVLIN_HOME_HOST "/t/r.php?u=Tavlin"));
}

QUrl TavlinAboutWindowController::donationAddress() {
    const QByteArray account = QUrl::toPercentEncoding(QStringLiteral(TAVLIN_PAYMENT_ACCOUNT));
    return QUrl::fromEncoded("https://" TAVLIN_PAYMENT_HOST "/xclick/business=" + account +
                             "&item_name=Tavlin&item_number=Tavlin&no_note=1&tax=0&currency_code=EUR");
}

void TavlinAboutWindowController::aboutGoToHomeButton() {
    open(homeAddress());
}

void TavlinAboutWindowController::aboutGoToDonationButton() {
    open(donationAddress());
}

void TavlinAboutWindowController::close() {
    _window->close();
}

void TavlinAboutWindowController::windowWillCloseNotification() {
    logWithMethodName("-[TavlinAboutWindowController windowWillClose:]", currentLine(), u"Yo!");
    Q_EMIT windowWillClose();
}
