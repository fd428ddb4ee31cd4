#include "platform/linux/PulseBus.h"

#include "app/UrlRouting.h"
#include "platform/linux/FocusToken.h"
#include "platform/linux/PulseBusClient.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QPoint>
#include <QVariantMap>

namespace {

// Requests that arrive before launch has finished; more than this is not a user.
constexpr qsizetype maxWaiting = 32;
// Waits in line with the links; no link of ours looks like it.
constexpr char signInRequest[] = "begin sign-in";

bool isOurLink(const QString &text)
{
    if (text.size() > PulseBusService::maxLinkLength)
        return false;
    for (const QChar c : text) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            return false;
    }
    return isCallbackUrl(text);
}

// org.freedesktop.Application, as desktop launchers and D-Bus activation call it.
class ApplicationAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
public:
    ApplicationAdaptor(PulseBusService *service, QDBusConnection bus)
        : QDBusAbstractAdaptor(service), m_service(service), m_bus(std::move(bus))
    {
    }

public Q_SLOTS:
    void Activate(const QVariantMap &platformData)
    {
        Q_EMIT m_service->focusTokensReceived(focus_token::read(platformData));
        m_service->activate();
    }
    void Open(const QStringList &uris, const QVariantMap &platformData, const QDBusMessage &message)
    {
        Q_EMIT m_service->focusTokensReceived(focus_token::read(platformData));
        if (m_service->open(uris))
            return;
        message.setDelayedReply(true);
        m_bus.send(message.createErrorReply(QDBusError::InvalidArgs,
                                            QStringLiteral("too many links in one call")));
    }
    void ActivateAction(const QString &, const QVariantList &, const QVariantMap &) {}

private:
    PulseBusService *m_service;
    QDBusConnection m_bus;
};

// The state interface: what the panel shows, for status bars and applets.
class StateAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", MIREO_STATE_INTERFACE)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(QString ToolTip READ toolTip)
    Q_PROPERTY(QString Tone READ tone)
    Q_PROPERTY(bool Stale READ stale)
    Q_PROPERTY(QString Metric READ metric)
public:
    explicit StateAdaptor(PulseBusService *service)
        : QDBusAbstractAdaptor(service), m_service(service)
    {
    }
    QString title() const { return m_service->state().title; }
    QString status() const { return m_service->state().status; }
    QString toolTip() const { return m_service->state().toolTip; }
    QString tone() const { return m_service->state().tone; }
    bool stale() const { return m_service->state().stale; }
    QString metric() const { return m_service->state().metric; }

public Q_SLOTS:
    // For a panel that shows the title itself (the GNOME Shell extension): a click on it.
    void ActivateAt(int x, int y) { m_service->activateAt(QPoint(x, y)); }
    // What the popover's "Sign in" does, for scripts and launchers; refused while signed in.
    void BeginSignIn() { m_service->beginSignIn(); }

private:
    PulseBusService *m_service;
};

} // namespace

PulseBusService::PulseBusService(QDBusConnection bus, QObject *parent)
    : QObject(parent), m_bus(std::move(bus)), m_state(std::make_unique<pulse_bus::State>())
{
    // Nothing known yet.
    m_state->title = m_state->toolTip = QStringLiteral("M\u00B7");
    m_state->status = QStringLiteral("{}");
    m_state->metric = QStringLiteral("book");
    new ApplicationAdaptor(this, m_bus);
    new StateAdaptor(this);
}

PulseBusService::~PulseBusService()
{
    if (!m_exported)
        return;
    m_bus.unregisterObject(QLatin1StringView(pulse_bus::objectPath));
    m_bus.unregisterService(QLatin1StringView(pulse_bus::serviceName));
}

PulseBusService::Claim PulseBusService::claim()
{
    if (!m_bus.isConnected())
        return Claim::NoBus;
    if (!m_bus.registerObject(QLatin1StringView(pulse_bus::objectPath), this,
                              QDBusConnection::ExportAdaptors))
        return Claim::NoBus;
    m_exported = true;
    // Not queued and not replaceable: two launches at once end with exactly one owner.
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
        m_bus.interface()->registerService(QLatin1StringView(pulse_bus::serviceName),
                                           QDBusConnectionInterface::DontQueueService,
                                           QDBusConnectionInterface::DontAllowReplacement);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered)
        return Claim::Owner;
    m_bus.unregisterObject(QLatin1StringView(pulse_bus::objectPath));
    m_exported = false;
    return reply.isValid() ? Claim::Taken : Claim::NoBus;
}

void PulseBusService::publish(const pulse_bus::State &state)
{
    QVariantMap changed;
    const auto update = [&changed](const char *name, auto &member, const auto &value) {
        if (member == value)
            return;
        member = value;
        changed.insert(QLatin1StringView(name), QVariant::fromValue(value));
    };
    update("Title", m_state->title, state.title);
    update("Status", m_state->status, state.status);
    update("ToolTip", m_state->toolTip, state.toolTip);
    update("Tone", m_state->tone, state.tone);
    update("Stale", m_state->stale, state.stale);
    update("Metric", m_state->metric, state.metric);
    if (changed.isEmpty() || !m_exported)
        return;
    QDBusMessage signal = QDBusMessage::createSignal(
        QLatin1StringView(pulse_bus::objectPath), QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("PropertiesChanged"));
    signal << QString::fromLatin1(pulse_bus::stateInterface) << changed << QStringList();
    m_bus.send(signal);
}

void PulseBusService::activate()
{
    deliver(QString());
}

void PulseBusService::activateAt(QPoint point)
{
    // Only a finished launch has a popover; a click that came too early is not repeated.
    if (m_launchFinished)
        Q_EMIT popoverRequested(point);
}

void PulseBusService::beginSignIn()
{
    deliver(QString::fromLatin1(signInRequest));
}

bool PulseBusService::open(const QStringList &uris)
{
    if (uris.size() > maxLinksPerCall)
        return false;
    for (const QString &uri : uris) {
        if (isOurLink(uri))
            deliver(uri);
    }
    return true;
}

void PulseBusService::launchFinished()
{
    m_launchFinished = true;
    const QStringList waiting = std::exchange(m_waiting, {});
    for (const QString &link : waiting)
        deliver(link);
}

void PulseBusService::deliver(const QString &link)
{
    if (!m_launchFinished) {
        if (m_waiting.size() < maxWaiting)
            m_waiting.append(link);
        return;
    }
    if (link.isEmpty())
        Q_EMIT activateRequested();
    else if (link == QLatin1StringView(signInRequest))
        Q_EMIT signInRequested();
    else
        Q_EMIT linkReceived(link);
}

#include "PulseBus.moc"
