#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QStringList>

// A stand-in for the panel's org.kde.StatusNotifierWatcher on a private bus: it records the
// items that register and can be stopped and started again as a crashing panel would.
class SniWatcher : public QObject
{
    Q_OBJECT
public:
    explicit SniWatcher(QString busAddress, QObject *parent = nullptr);
    ~SniWatcher() override;

    // Owns org.kde.StatusNotifierWatcher on a fresh connection; false when the name is taken.
    bool start();
    // Drops the connection, and with it the name, without a goodbye.
    void stop();

    QDBusConnection connection() const;
    // Bus names of the registered items, in order of registration (repeats included).
    QStringList registrations() const { return m_registrations; }

    // Called through the adaptor.
    void registerItem(const QString &serviceOrPath, const QDBusMessage &message);

Q_SIGNALS:
    void itemRegistered(const QString &service);

private:
    QString m_address;
    QString m_connectionName;
    int m_generation = 0;
    QStringList m_registrations;
};

class SniWatcherAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ items)
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hostRegistered)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)
public:
    explicit SniWatcherAdaptor(SniWatcher *watcher);
    QStringList items() const { return m_watcher->registrations(); }
    bool hostRegistered() const { return true; }
    int protocolVersion() const { return 0; }

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString &service, const QDBusMessage &message);
    void RegisterStatusNotifierHost(const QString &) {}

Q_SIGNALS:
    void StatusNotifierItemRegistered(const QString &service);
    void StatusNotifierItemUnregistered(const QString &service);
    void StatusNotifierHostRegistered();

private:
    SniWatcher *m_watcher;
};
