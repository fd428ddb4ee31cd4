#include "app/AppDelegate.h"

#include "app/DesktopHotKey.h"
#include "app/FirstRun.h"
#include "app/NotchCheck.h"
#include "app/Probe.h"
#include "app/RefreshOnOpen.h"
#include "app/StatusItem.h"
#include "app/StatusReport.h"
#include "app/UrlRouting.h"
#include "base/Clock.h"
#include "platform/linux/DesktopEntry.h"
#include "platform/linux/StatusNotifierItemOrTray.h"
#include "platform/linux/X11WindowTitle.h"
#include "settings/AppSettings.h"
#include "settings/Defaults.h"
#include "settings/L.h"
#include "settings/MireoConfig.h"
#include "ui/OnboardingView.h"
#include "ui/PanelSummary.h"
#include "ui/PulseMenuView.h"
#include "ui/Refresh.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

namespace {

QString statusMenuLabel(StatusItem::MenuEntry entry)
{
    switch (entry) {
    case StatusItem::MenuEntry::QuickPanel:
        return L::text("Open the quick panel", "Abrir o painel rápido");
    case StatusItem::MenuEntry::Refresh:
        return L::text("Refresh", "Atualizar");
    case StatusItem::MenuEntry::Quit:
        return L::text("Quit", "Fechar");
    }
    return {};
}

} // namespace

AppDelegate::AppDelegate(QObject *parent)
    : QObject(parent), m_settingsWatcher(Defaults::shared(), AppSettings::shared()),
      m_updater(m_services.core.http(), m_services.browser, appcastUrl(MireoConfig::siteURL()),
                QCoreApplication::applicationVersion()),
      m_loginItem(QCoreApplication::applicationFilePath()),
      m_surfaces([this] { return makePulseView(); })
{
    m_titleTimer.setSingleShot(true);
    m_titleTimer.setInterval(0);
    connect(&m_titleTimer, &QTimer::timeout, this, &AppDelegate::updateTitle);
    connect(&m_updater, &UpdateChecker::notice, this, &AppDelegate::showUpdateNotice);
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::didFinishLaunching()
{
    AppCore &core = m_services.core;
    // A panel companion: no main window, and closing a dialog does not end the process.
    QApplication::setQuitOnLastWindowClosed(false);
    DesktopEntry::registerForUser(QCoreApplication::applicationFilePath());

    // The account is not loaded yet: the public title first.
    m_statusItem = createDesktopStatusItem();
    m_statusItem->setTitle(core.pulse().menuTitle());
    m_statusItem->setToolTipSource([this] {
        AppCore &core = m_services.core;
        return ui::panelSummary(statusReport(menuTitle(), core.pulse(), core.auth()),
                                base::Clock::system().now(), L::isPT());
    });
    m_statusItem->setMenuLabelSource(statusMenuLabel);
    connect(&AppSettings::shared(), &AppSettings::languageChanged, m_statusItem.get(),
            &StatusItem::menuLabelsChanged);
    // The quick panel entry is the surfaces' own; the other two are the popover's footer's.
    connect(m_statusItem.get(), &StatusItem::menuTriggered, this,
            [this](StatusItem::MenuEntry entry) {
                if (entry == StatusItem::MenuEntry::Refresh)
                    ui::refreshPublicThenAccount(&m_services.core.pulse(), &m_services.core.auth());
                else if (entry == StatusItem::MenuEntry::Quit)
                    QCoreApplication::quit();
            });
    m_surfaces.attach(*m_statusItem);
    connect(&m_surfaces, &PulseSurfaces::opened, this, [this] {
        refreshOnOpen(m_services.core.pulse(), m_services.core.auth(), base::Clock::system());
    });

    // Announcements come before the values settle; the next turn reads the new ones.
    connect(&core, &AppCore::changed, &m_titleTimer, qOverload<>(&QTimer::start));

    core.startAccountCycle();
    m_updater.startScheduledChecks();

    m_hotKey = new DesktopHotKey(m_services.notifier, Defaults::shared(), this);
    connect(m_hotKey, &DesktopHotKey::activated, this, &AppDelegate::toggleQuickPanel);
    m_hotKey->start();

    notch::schedule(
        this,
        {[this] {
             const auto geometry = m_statusItem->geometry();
             return geometry ? std::optional(QRectF(*geometry)) : std::nullopt;
         },
         [this](const QRectF &frame) { return m_screens.screenAt(frame.center()); },
         [this](const notch::Warning &warning) {
             m_services.notifier.deliver({warning.identifier, warning.title, warning.body, false});
         }});
    maybeShowOnboarding();
    probe::schedule(this, {[this] { return m_statusItem->isVisible(); },
                           [this] { return QRectF(m_statusItem->geometry().value_or(QRect())); },
                           {}});
}

void AppDelegate::handleUrl(const QString &url)
{
    deliverUrl(url,
               {[this] { toggleQuickPanel(); },
                [this](const QUrl &callback) { m_services.core.auth().handleCallback(callback); }});
}

void AppDelegate::toggleQuickPanel()
{
    m_surfaces.toggleQuickPanel();
}

QWidget *AppDelegate::makePulseView()
{
    AppCore &core = m_services.core;
    return new ui::PulseMenuView({core.pulse(), core.auth(), AppSettings::shared(), m_loginItem,
                                  m_services.browser, base::Clock::system(),
                                  MireoConfig::siteURL()},
                                 [this] { m_updater.checkNow(); });
}

void AppDelegate::updateTitle()
{
    if (m_statusItem) {
        m_statusItem->setTitle(menuTitle());
        m_statusItem->toolTipChanged();
    }
    Q_EMIT titleUpdated();
}

void AppDelegate::maybeShowOnboarding()
{
    // Marked before anything shows: a quit while the window is open still counts.
    if (!firstRun::claim(Defaults::shared()))
        return;
    auto *window =
        new QWidget(nullptr, Qt::Window | Qt::WindowCloseButtonHint | Qt::WindowTitleHint);
    window->setAttribute(Qt::WA_DeleteOnClose);
    auto *layout = new QVBoxLayout(window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    auto *view = new ui::OnboardingView(AppSettings::shared(), window);
    layout->addWidget(view);
    connect(view, &ui::OnboardingView::signInRequested, window, [this, window] {
        m_services.core.auth().beginSignIn();
        window->close();
    });
    connect(view, &ui::OnboardingView::closeRequested, window, &QWidget::close);
    window->adjustSize();
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        window->move(screen->availableGeometry().center() - window->rect().center());
    m_onboardingWindow = window;
    window->winId(); // the native window, to leave its title empty as the design has it
    x11::clearWindowTitle(window->windowHandle());
    window->show();
    window->raise();
    window->activateWindow();
}

void AppDelegate::showUpdateNotice(const UpdateNotice &notice)
{
    auto *box = new QMessageBox(QMessageBox::Information, QStringLiteral("Mireo Pulse"),
                                notice.text, QMessageBox::Close);
    box->setAttribute(Qt::WA_DeleteOnClose);
    if (notice.downloadPage) {
        QPushButton *open =
            box->addButton(UpdateChecker::downloadActionText(), QMessageBox::AcceptRole);
        connect(open, &QPushButton::clicked, this, [this] { m_updater.openDownloadPage(); });
    }
    box->show();
    box->raise();
    box->activateWindow();
}
