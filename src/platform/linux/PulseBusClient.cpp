#include "platform/linux/PulseBusClient.h"

#include "platform/linux/PulseBus.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>
#include <QVariantMap>

namespace pulse_bus {

bool appIsRunning(const QDBusConnection &bus)
{
    if (!bus.isConnected() || !bus.interface())
        return false;
    const QDBusReply<bool> owned =
        bus.interface()->isServiceRegistered(QLatin1StringView(serviceName));
    return owned.isValid() && owned.value();
}

namespace {

QDBusMessage call(const char *interface, const QString &method)
{
    QDBusMessage message = QDBusMessage::createMethodCall(QLatin1StringView(serviceName),
                                                          QLatin1StringView(objectPath),
                                                          QLatin1StringView(interface), method);
    // A surface never starts the app by asking it something.
    message.setAutoStartService(false);
    return message;
}

} // namespace

bool handOver(const QDBusConnection &bus, const QString &link, std::chrono::milliseconds timeout,
              const QVariantMap &platformData)
{
    QDBusMessage message = link.isEmpty() ? call(applicationInterface, QStringLiteral("Activate"))
                                          : call(applicationInterface, QStringLiteral("Open"));
    if (!link.isEmpty())
        message << QStringList{link};
    message << platformData;
    const QDBusMessage reply = bus.call(message, QDBus::Block, int(timeout.count()));
    return reply.type() == QDBusMessage::ReplyMessage;
}

void applyProperties(State &state, const QVariantMap &properties)
{
    const auto take = [&properties](const char *name, auto &member, QMetaType::Type type) {
        const QVariant value = properties.value(QLatin1StringView(name));
        if (value.typeId() == type)
            member = value.value<std::remove_reference_t<decltype(member)>>();
    };
    take("Title", state.title, QMetaType::QString);
    take("Status", state.status, QMetaType::QString);
    take("ToolTip", state.toolTip, QMetaType::QString);
    take("Tone", state.tone, QMetaType::QString);
    take("Stale", state.stale, QMetaType::Bool);
    take("Metric", state.metric, QMetaType::QString);
}

std::optional<State> readState(const QDBusConnection &bus, std::chrono::milliseconds timeout)
{
    if (!appIsRunning(bus))
        return std::nullopt;
    QDBusMessage message = call("org.freedesktop.DBus.Properties", QStringLiteral("GetAll"));
    message << QString::fromLatin1(stateInterface);
    const QDBusReply<QVariantMap> reply = bus.call(message, QDBus::Block, int(timeout.count()));
    if (!reply.isValid())
        return std::nullopt;
    const QVariant title = reply.value().value(QStringLiteral("Title"));
    const QVariant status = reply.value().value(QStringLiteral("Status"));
    if (title.typeId() != QMetaType::QString || status.typeId() != QMetaType::QString)
        return std::nullopt;
    State state;
    applyProperties(state, reply.value());
    return state;
}

} // namespace pulse_bus

PulseBusWatcher::PulseBusWatcher(QDBusConnection bus, QObject *parent)
    : QObject(parent), m_bus(std::move(bus)),
      m_watcher(QString::fromLatin1(pulse_bus::serviceName), m_bus,
                QDBusServiceWatcher::WatchForOwnerChange)
{
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &oldOwner, const QString &newOwner) {
                if (!oldOwner.isEmpty())
                    Q_EMIT appStopped();
                if (!newOwner.isEmpty())
                    Q_EMIT appStarted();
            });
    m_bus.connect(
        QString::fromLatin1(pulse_bus::serviceName), QString::fromLatin1(pulse_bus::objectPath),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("PropertiesChanged"),
        this, SLOT(propertiesChanged(QString, QVariantMap, QStringList)));
}

void PulseBusWatcher::propertiesChanged(const QString &interface, const QVariantMap &changed,
                                        const QStringList &)
{
    if (interface == QLatin1StringView(pulse_bus::stateInterface) && !changed.isEmpty())
        Q_EMIT stateChanged(changed);
}
