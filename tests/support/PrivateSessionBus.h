#pragma once

#include <QDBusConnection>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace testing {

// A session bus of our own: dbus-daemon started for this test and stopped with it, so nothing
// of the desktop the tests run on can answer, and nothing we export reaches it. Its minimal
// configuration names no service directories: nothing installed can be started by activation.
class PrivateSessionBus
{
public:
    PrivateSessionBus()
    {
        const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
        QFile config(m_dir.filePath(QStringLiteral("bus.conf")));
        if (daemon.isEmpty() || !m_dir.isValid() || !config.open(QIODevice::WriteOnly))
            return;
        config.write("<busconfig><type>session</type><listen>unix:dir=" + m_dir.path().toUtf8() +
                     "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                     "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
                     "<allow own=\"*\"/></policy></busconfig>\n");
        config.close();
        m_daemon.start(daemon, {QStringLiteral("--config-file=") + config.fileName(),
                                QStringLiteral("--print-address"), QStringLiteral("--nofork")});
        if (!m_daemon.waitForStarted(5000))
            return;
        while (!m_daemon.canReadLine() && m_daemon.waitForReadyRead(5000)) {
        }
        m_address = QString::fromUtf8(m_daemon.readLine().trimmed());
    }
    ~PrivateSessionBus()
    {
        for (const QString &name : std::as_const(m_connections))
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
    QTemporaryDir m_dir;
    QProcess m_daemon;
    QString m_address;
    QStringList m_connections;
};

} // namespace testing
