#pragma once

#include <QDBusConnection>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace testing {

// A session bus of our own: a dbus-daemon with a minimal configuration, so no service the
// machine has installed can be started on it by activation.
class PrivateBus
{
public:
    PrivateBus()
    {
        const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
        if (daemon.isEmpty() || !m_dir.isValid())
            return;
        const QString config = m_dir.filePath(QStringLiteral("bus.conf"));
        QFile file(config);
        if (!file.open(QIODevice::WriteOnly))
            return;
        file.write(
            QByteArrayLiteral("<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus "
                              "Configuration 1.0//EN\" "
                              "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                              "<busconfig><type>session</type><listen>unix:dir=") +
            m_dir.path().toUtf8() +
            QByteArrayLiteral("</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                              "<allow send_destination=\"*\" eavesdrop=\"true\"/>"
                              "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy>"
                              "</busconfig>\n"));
        file.close();
        m_daemon.start(daemon, {QStringLiteral("--config-file=") + config,
                                QStringLiteral("--print-address"), QStringLiteral("--nofork")});
        if (!m_daemon.waitForStarted(5000))
            return;
        while (!m_daemon.canReadLine() && m_daemon.waitForReadyRead(5000)) {
        }
        m_address = QString::fromUtf8(m_daemon.readLine().trimmed());
    }
    ~PrivateBus()
    {
        for (const QString &name : std::as_const(m_connections))
            QDBusConnection::disconnectFromBus(name);
        if (m_daemon.state() != QProcess::NotRunning) {
            m_daemon.terminate();
            m_daemon.waitForFinished(5000);
        }
    }
    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;

    static bool available()
    {
        return !QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty();
    }
    bool running() const { return !m_address.isEmpty(); }
    QString address() const { return m_address; }

    // A connection of its own, as another process would have.
    QDBusConnection connect(const QString &name)
    {
        m_connections.append(name);
        return QDBusConnection::connectToBus(m_address, name);
    }

private:
    QTemporaryDir m_dir;
    QProcess m_daemon;
    QString m_address;
    QStringList m_connections;
};

} // namespace testing
