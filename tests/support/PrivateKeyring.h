#pragma once

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace testing {

// A private session bus with gnome-keyring's Secret Service on it, unlocked, so tests use a
// real keychain without ever touching the user's. Sets DBUS_SESSION_BUS_ADDRESS for this
// process (before anything connects to the bus) and for the child processes it starts.
class PrivateKeyring
{
public:
    // Empty when it is running; otherwise why not, for QSKIP.
    QString start()
    {
        const QString busDaemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
        const QString keyringDaemon =
            QStandardPaths::findExecutable(QStringLiteral("gnome-keyring-daemon"));
        if (busDaemon.isEmpty() || keyringDaemon.isEmpty())
            return QStringLiteral("dbus-daemon or gnome-keyring-daemon is not installed");

        m_bus.start(busDaemon, {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                QStringLiteral("--print-address")});
        if (!m_bus.waitForReadyRead(10000))
            return QStringLiteral("dbus-daemon did not start");
        m_address = m_bus.readLine().trimmed();
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_address);

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
        for (QProcess *process : {&m_keyring, &m_bus}) {
            process->kill();
            process->waitForFinished();
        }
    }

    // The system environment pointed at the private bus, for child processes.
    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QString::fromUtf8(m_address));
        return env;
    }

private:
    QTemporaryDir m_home;
    QProcess m_bus;
    QProcess m_keyring;
    QByteArray m_address;
};

} // namespace testing
