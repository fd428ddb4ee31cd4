#include "ui/PulseMenuView.h"

#include "account/AuthStore.h"
#include "account/Browser.h"
#include "base/Clock.h"
#include "base/FixedDecimal.h"
#include "base/FrameTrace.h"
#include "base/Publish.h"
#include "pulse/PulseStore.h"
#include "settings/AppSettings.h"
#include "settings/L.h"
#include "ui/ConfirmationSheet.h"
#include "ui/LoginItem.h"
#include "ui/PulseMenuSections.h"
#include "ui/Refresh.h"
#include "ui/Widgets.h"

#include <QCoreApplication>
#include <QMetaMethod>
#include <QVBoxLayout>

namespace ui {

namespace {

QUrl pageOf(QUrl site, const QString &path)
{
    site.setPath(path);
    return site;
}

} // namespace

PulseMenuView::PulseMenuView(Services services, std::function<void()> onCheckUpdates,
                             QWidget *parent)
    : QWidget(parent), m_services(std::move(services)), m_onCheckUpdates(std::move(onCheckUpdates)),
      m_sheet(new ConfirmationSheet(this))
{
    m_launchAtLogin = m_services.loginItem.status() == LoginItem::Status::Enabled;
    connect(m_sheet, &ConfirmationSheet::answered, this, &PulseMenuView::answerConfirmation);

    auto *outer = new QVBoxLayout(this);
    // The built column reaches into the side padding by its spill.
    outer->setContentsMargins(menuPadding - menuSpill, menuPadding, menuPadding - menuSpill,
                              menuPadding);
    outer->setSizeConstraint(QLayout::SetFixedSize);

    const QMetaMethod render = metaObject()->method(metaObject()->indexOfSlot("scheduleRender()"));
    base::connectFieldChanges(m_services.pulse, this, render);
    base::connectFieldChanges(m_services.auth, this, render);
    base::connectFieldChanges(m_services.settings, this, render);

    // Built once: renders bring it up to date in place.
    m_column = new PulseMenuColumn(actions());
    outer->addWidget(m_column);

    // A child, so that whoever holds the view can see whether the badge is ticking.
    m_badgeTick.setParent(this);
    m_badgeTick.setObjectName(QStringLiteral("badgeTick"));
    m_badgeTick.setInterval(std::chrono::seconds(1));
    connect(&m_badgeTick, &QTimer::timeout, this, &PulseMenuView::tickBadge);
    renderNow();
}

void PulseMenuView::setFormatLocale(const FormatLocale &locale)
{
    m_locale = locale;
    scheduleRender();
}

PulseMenuInput PulseMenuView::currentInput() const
{
    PulseMenuInput input;
    readStores(input, m_services.pulse, m_services.auth);
    input.menuMetric = m_services.settings.menuMetric();
    input.language = m_services.settings.language();
    input.isPT = L::isPT();
    input.now = m_services.clock.now();
    input.locale = m_locale;
    input.canCheckUpdates = bool(m_onCheckUpdates);
    input.launchAtLogin = m_launchAtLogin;
    input.confirmingPause = m_confirmingPause;
    input.confirmingEnable = m_confirmingEnable;
    input.togglingAuto = m_togglingAuto;
    return input;
}

void PulseMenuView::scheduleRender()
{
    // Many fields change in one burst; one render on the next turn covers them all.
    if (m_renderPending)
        return;
    m_renderPending = true;
    QTimer::singleShot(0, this, [this] {
        if (m_renderPending)
            renderNow();
    });
}

void PulseMenuView::renderNow()
{
    m_renderPending = false;
    if (m_traceUpdates && isVisible())
        m_sinceRender.start();
    const PulseMenuModel model = pulseMenuModel(currentInput());
    m_column->apply(model);
    m_badgeDate = model.personal.state == PersonalState::Account ? model.personal.account.badgeDate
                                                                 : std::nullopt;
    syncConfirmation(model);
    Q_EMIT rendered();
}

MenuActions PulseMenuView::actions()
{
    MenuActions a;
    a.signIn = [this] { m_services.auth.beginSignIn(); };
    a.pause = [this] {
        if (m_togglingAuto || m_confirmingEnable)
            return;
        m_confirmingPause = true;
        scheduleRender();
    };
    a.enable = [this] {
        if (m_togglingAuto || m_confirmingPause)
            return;
        m_confirmingEnable = true;
        scheduleRender();
    };
    a.openPortfolio = [this] {
        m_services.browser.open(pageOf(m_services.siteUrl, QStringLiteral("/portfolio")));
    };
    a.openHome = [this] {
        m_services.browser.open(pageOf(m_services.siteUrl, QStringLiteral("/home")));
    };
    a.refresh = [this] { refreshPublicThenAccount(&m_services.pulse, &m_services.auth); };
    a.signOut = [this] { m_services.auth.signOut(); };
    a.quit = [] { QCoreApplication::quit(); };
    a.checkUpdates = [this] {
        if (m_onCheckUpdates)
            m_onCheckUpdates();
    };
    a.setMetric = [this](const QString &metric) { m_services.settings.setMenuMetric(metric); };
    a.setLanguage = [this](const QString &language) { m_services.settings.setLanguage(language); };
    a.setLaunchAtLogin = [this](bool on) { setLaunchAtLogin(on); };
    return a;
}

void PulseMenuView::syncConfirmation(const PulseMenuModel &model)
{
    // At most one asks at a time: the button that opens it is either Pause or Enable.
    const Confirmation &open = model.enable.open ? model.enable : model.pause;
    if (!open.open) {
        m_sheet->hide();
        return;
    }
    m_sheet->setTexts(open);
    m_sheet->ask();
}

void PulseMenuView::answerConfirmation(bool confirmed)
{
    const bool enable = m_confirmingEnable;
    if (!m_confirmingEnable && !m_confirmingPause)
        return;
    m_confirmingEnable = m_confirmingPause = false;
    if (confirmed)
        setAutoExecution(enable);
    scheduleRender();
}

void PulseMenuView::setAutoExecution(bool enabled)
{
    // One change at a time: its buttons are disabled until it is over.
    if (m_togglingAuto)
        return;
    m_togglingAuto = true;
    scheduleRender();
    QCoro::connect(m_services.auth.setAutoExecution(enabled), this, [this](bool) {
        m_togglingAuto = false;
        scheduleRender();
    });
}

void PulseMenuView::setLaunchAtLogin(bool on)
{
    if (on == m_launchAtLogin)
        return;
    const bool done =
        on ? m_services.loginItem.registerItem() : m_services.loginItem.unregisterItem();
    // A refusal leaves the checkbox showing the real state.
    m_launchAtLogin = done ? on : m_services.loginItem.status() == LoginItem::Status::Enabled;
    scheduleRender();
}

void PulseMenuView::tickBadge()
{
    if (m_badgeDate)
        m_column->badge()->setFreshness(
            freshnessBadge(*m_badgeDate, m_services.clock.now(), L::isPT(), m_locale));
}

bool PulseMenuView::eventFilter(QObject *watched, QEvent *event)
{
    // A render that changes nothing paints nothing; a paint long after it has another cause.
    if (event->type() == QEvent::Paint && m_sinceRender.isValid() && m_sinceRender.elapsed() < 50) {
        // The widgets paint in the same pass; the next turn comes after the frame is out.
        base::traceAfterFrame(this, std::exchange(m_sinceRender, {}), "popover updated");
    }
    return QWidget::eventFilter(watched, event);
}

void PulseMenuView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    // The window paints the frame that the view's widgets are part of.
    if (m_traceUpdates)
        window()->installEventFilter(this);
    tickBadge();
    m_badgeTick.start();
}

void PulseMenuView::hideEvent(QHideEvent *event)
{
    m_badgeTick.stop();
    // Closing the window that asks is a Cancel: nothing is changed behind the user's back, and
    // the next opening starts without a question.
    if (m_confirmingPause || m_confirmingEnable) {
        m_sheet->hide();
        answerConfirmation(false);
    }
    QWidget::hideEvent(event);
}

} // namespace ui
