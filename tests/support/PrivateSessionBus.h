#pragma once

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <optional>

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

// A private session bus with gnome-keyring's Secret Service on it, unlocked, so tests use a
// real keychain without ever touching the user's. Sets DBUS_SESSION_BUS_ADDRESS for this
// process (before anything connects to the bus) and for the child processes it starts.
class PrivateKeyring
{
public:
    // Empty when it is running; otherwise why not, for QSKIP.
    QString start()
    {
        const QString keyringDaemon =
            QStandardPaths::findExecutable(QStringLiteral("gnome-keyring-daemon"));
        if (keyringDaemon.isEmpty())
            return QStringLiteral("gnome-keyring-daemon is not installed");
        if (!m_bus.emplace().isRunning())
            return QStringLiteral("dbus-daemon is missing or did not start");
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus->address().toUtf8());

        QProcessEnvironment env = environment();
        env.insert(QStringLiteral("HOME"), m_home.path());
        env.insert(QStringLiteral("XDG_DATA_HOME"), m_home.filePath(QStringLiteral("data")));
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_home.path());
        m_keyring.setProcessEnvironment(env);
        m_keyring.start(keyringDaemon, {QStringLiteral("--foreground"), QStringLiteral("--unlock"),
                                        QStringLiteral("--components=secrets")});
        if (!m_keyring.waitForStarted())
            return QStringLiteral("gnome-keyring-daemon did not start");
        m_keyring.write("test-password");
        m_keyring.closeWriteChannel();
        const bool up = QTest::qWaitFor(
            [] {
                return QDBusConnection::sessionBus().interface()->isServiceRegistered(
                    QStringLiteral("org.freedesktop.secrets"));
            },
            10000);
        return up ? QString() : QStringLiteral("the Secret Service did not appear");
    }

    ~PrivateKeyring()
    {
        m_keyring.kill();
        m_keyring.waitForFinished();
    }

    // The system environment pointed at the private bus, for child processes.
    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                   m_bus ? m_bus->address() : QString());
        return env;
    }

private:
    QTemporaryDir m_home;
    std::optional<PrivateSessionBus> m_bus;
    QProcess m_keyring;
};

} // namespace testing
