#include "SniWatcher.h"


SniWatcher::SniWatcher(QString busAddress, QObject *parent)
    : QObject(parent), m_address(std::move(busAddress))
{
    new SniWatcherAdaptor(this);
}

SniWatcher::~SniWatcher()
{
    stop();
}

bool SniWatcher::start()
{
    stop();
    m_connectionName = QStringLiteral("sni-watcher-%1-%2").arg(quintptr(this)).arg(++m_generation);
    QDBusConnection bus = QDBusConnection::connectToBus(m_address, m_connectionName);
    return bus.isConnected() &&
           bus.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                              QDBusConnection::ExportAdaptors) &&
           bus.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"));
}

void SniWatcher::stop()
{
    if (m_connectionName.isEmpty())
        return;
    QDBusConnection::disconnectFromBus(m_connectionName);
    m_connectionName.clear();
}

QDBusConnection SniWatcher::connection() const
{
    return QDBusConnection(m_connectionName);
}

void SniWatcher::registerItem(const QString &serviceOrPath, const QDBusMessage &message)
{
    // Items may name themselves by bus name or, sent from their own connection, by path.
    const QString service = serviceOrPath.startsWith(u'/') ? message.service() : serviceOrPath;
    m_registrations << service;
    Q_EMIT itemRegistered(service);
}

SniWatcherAdaptor::SniWatcherAdaptor(SniWatcher *watcher)
    : QDBusAbstractAdaptor(watcher), m_watcher(watcher)
{
}

void SniWatcherAdaptor::RegisterStatusNotifierItem(const QString &service,
                                                   const QDBusMessage &message)
{
    m_watcher->registerItem(service, message);
    Q_EMIT StatusNotifierItemRegistered(service);
}
