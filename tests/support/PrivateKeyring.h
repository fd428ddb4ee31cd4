#pragma once

#include "support/PrivateSessionBus.h"

#include <QDBusConnectionInterface>
#include <QTest>
#include <optional>

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
