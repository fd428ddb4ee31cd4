#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QStandardPaths>

namespace testing {

// A session bus of our own: dbus-daemon started for this test and stopped with it, so nothing
// of the desktop the tests run on can answer, and nothing we export reaches it.
class PrivateSessionBus
{
public:
    PrivateSessionBus()
    {
        const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
        if (daemon.isEmpty())
            return;
        m_daemon.start(daemon, {QStringLiteral("--session"), QStringLiteral("--print-address"),
                                QStringLiteral("--nofork")});
        if (!m_daemon.waitForStarted(5000))
            return;
        while (m_address.isEmpty() && m_daemon.waitForReadyRead(5000))
            m_address = QString::fromUtf8(m_daemon.readLine().trimmed());
    }
    ~PrivateSessionBus()
    {
        for (const QString &name : m_connections)
            QDBusConnection::disconnectFromBus(name);
        m_daemon.kill();
        m_daemon.waitForFinished(5000);
    }
    PrivateSessionBus(const PrivateSessionBus &) = delete;
    PrivateSessionBus &operator=(const PrivateSessionBus &) = delete;

    bool isRunning() const { return !m_address.isEmpty(); }
    QString address() const { return m_address; }

    // A new client connection to this bus under a name unique to this process.
    QDBusConnection connect(const QString &name)
    {
        m_connections << name;
        return QDBusConnection::connectToBus(m_address, name);
    }

private:
    QProcess m_daemon;
    QString m_address;
    QStringList m_connections;
};

} // namespace testing
