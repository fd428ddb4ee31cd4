#include "ui/PulseMenuView.h"

#include "account/AuthStore.h"
#include "account/Browser.h"
#include "net/Clock.h"
#include "pulse/PulseStore.h"
#include "settings/AppSettings.h"
#include "settings/L.h"
#include "ui/LoginItem.h"
#include "ui/PulseMenuSections.h"
#include "ui/Widgets.h"

#include <QCoreApplication>
#include <QMessageBox>
#include <QMetaMethod>
#include <QPushButton>
#include <QVBoxLayout>

namespace ui {

namespace {

// Every "...Changed" signal of `source` re-renders.
void connectChanges(QObject *source, QObject *receiver, const QMetaMethod &slot)
{
    const QMetaObject *meta = source->metaObject();
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const QMetaMethod method = meta->method(i);
        if (method.methodType() == QMetaMethod::Signal && method.name().endsWith("Changed"))
            QObject::connect(source, method, receiver, slot);
    }
}

// The public numbers first, then the account: one task, in that order.
QCoro::Task<> refreshBoth(QPointer<PulseStore> pulse, QPointer<AuthStore> auth)
{
    if (pulse)
        co_await pulse->refresh();
    if (auth)
        co_await auth->loadPortfolio();
}

QUrl pageOf(QUrl site, const QString &path)
{
    site.setPath(path);
    return site;
}

} // namespace

PulseMenuView::PulseMenuView(Services services, std::function<void()> onCheckUpdates,
                             QWidget *parent)
    : QWidget(parent), m_services(std::move(services)), m_onCheckUpdates(std::move(onCheckUpdates))
{
    m_launchAtLogin = m_services.loginItem.status() == LoginItem::Status::Enabled;

    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(menuPadding, menuPadding, menuPadding, menuPadding);
    outer->setSizeConstraint(QLayout::SetFixedSize);

    const QMetaMethod render = metaObject()->method(metaObject()->indexOfSlot("scheduleRender()"));
    connectChanges(&m_services.pulse, this, render);
    connectChanges(&m_services.auth, this, render);
    connectChanges(&m_services.settings, this, render);

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
    const PulseMenuModel model = pulseMenuModel(currentInput());
    const BuiltMenu built = buildPulseMenu(model, actions());

    delete m_content; // never called from inside one of its own handlers: renders are queued
    m_content = built.content;
    layout()->addWidget(m_content);
    m_badge = built.badge;
    m_badgeDate = model.personal.state == PersonalState::Account ? model.personal.account.badgeDate
                                                                 : std::nullopt;
    syncConfirmations(model);
    Q_EMIT rendered();
}

MenuActions PulseMenuView::actions()
{
    MenuActions a;
    a.signIn = [this] { m_services.auth.beginSignIn(); };
    a.pause = [this] {
        m_confirmingPause = true;
        scheduleRender();
    };
    a.enable = [this] {
        m_confirmingEnable = true;
        scheduleRender();
    };
    a.openPortfolio = [this] {
        m_services.browser.open(pageOf(m_services.siteUrl, QStringLiteral("/portfolio")));
    };
    a.openHome = [this] {
        m_services.browser.open(pageOf(m_services.siteUrl, QStringLiteral("/home")));
    };
    a.refresh = [this] { refreshBoth(&m_services.pulse, &m_services.auth); };
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

void PulseMenuView::syncConfirmations(const PulseMenuModel &model)
{
    if (model.pause.open || m_pauseDialog)
        confirmation(model.pause, m_pauseDialog, false);
    if (model.enable.open || m_enableDialog)
        confirmation(model.enable, m_enableDialog, true);
}

QMessageBox *PulseMenuView::confirmation(const Confirmation &texts, QPointer<QMessageBox> &dialog,
                                         bool enable)
{
    if (!dialog) {
        dialog = new QMessageBox(this);
        dialog->setObjectName(enable ? QStringLiteral("enableConfirmation")
                                     : QStringLiteral("pauseConfirmation"));
        dialog->setIcon(QMessageBox::Question);
        dialog->setWindowModality(Qt::WindowModal);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->addButton(QString(), QMessageBox::AcceptRole)
            ->setObjectName(QStringLiteral("confirm"));
        dialog->addButton(QString(), QMessageBox::RejectRole)
            ->setObjectName(QStringLiteral("cancel"));
        QMessageBox *box = dialog;
        connect(box, &QDialog::finished, this, [this, box, enable] {
            QAbstractButton *clicked = box->clickedButton();
            const bool confirmed = clicked && box->buttonRole(clicked) == QMessageBox::AcceptRole;
            (enable ? m_confirmingEnable : m_confirmingPause) = false;
            if (confirmed)
                setAutoExecution(enable);
            scheduleRender();
        });
        dialog->open();
    }
    // The texts follow the language while the dialog is open.
    dialog->setWindowTitle(texts.title);
    dialog->setText(texts.title);
    dialog->setInformativeText(texts.message.value_or(QString()));
    dialog->findChild<QPushButton *>(QStringLiteral("confirm"))->setText(texts.confirm);
    dialog->findChild<QPushButton *>(QStringLiteral("cancel"))->setText(texts.cancel);
    return dialog;
}

void PulseMenuView::setAutoExecution(bool enabled)
{
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
    if (m_badge && m_badgeDate)
        m_badge->setFreshness(
            freshnessBadge(*m_badgeDate, m_services.clock.now(), L::isPT(), m_locale));
}

void PulseMenuView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    tickBadge();
    m_badgeTick.start();
}

void PulseMenuView::hideEvent(QHideEvent *event)
{
    m_badgeTick.stop();
    QWidget::hideEvent(event);
}

} // namespace ui
