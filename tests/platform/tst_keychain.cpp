#include "platform/linux/KeychainSecretStore.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// The real Secret Service: gnome-keyring on a private session bus that this test starts, so the
// user's own keyring is never touched.
class TestKeychain : public QObject
{
    Q_OBJECT

    QTemporaryDir m_home;
    QProcess m_bus;
    QProcess m_keyring;
    const QString service = u"com.mireo.test.pulse"_s;

private Q_SLOTS:
    void initTestCase()
    {
        const QString busDaemon = QStandardPaths::findExecutable(u"dbus-daemon"_s);
        const QString keyringDaemon = QStandardPaths::findExecutable(u"gnome-keyring-daemon"_s);
        if (busDaemon.isEmpty() || keyringDaemon.isEmpty())
            QSKIP("dbus-daemon or gnome-keyring-daemon is not installed");

        m_bus.start(busDaemon, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
        QVERIFY(m_bus.waitForReadyRead(10000));
        const QByteArray address = m_bus.readLine().trimmed();
        QVERIFY(!address.isEmpty());
        // Read by QtDBus and libsecret when they first connect, which is after this point.
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);

        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, QString::fromUtf8(address));
        env.insert(u"HOME"_s, m_home.path());
        env.insert(u"XDG_DATA_HOME"_s, m_home.filePath(u"data"_s));
        env.insert(u"XDG_RUNTIME_DIR"_s, m_home.path());
        m_keyring.setProcessEnvironment(env);
        m_keyring.start(keyringDaemon,
                        {u"--foreground"_s, u"--unlock"_s, u"--components=secrets"_s});
        QVERIFY(m_keyring.waitForStarted());
        m_keyring.write("test-password");
        m_keyring.closeWriteChannel();
        QVERIFY(QTest::qWaitFor(
            [] {
                return QDBusConnection::sessionBus().interface()->isServiceRegistered(
                    u"org.freedesktop.secrets"_s);
            },
            10000));
    }

    void cleanupTestCase()
    {
        m_keyring.kill();
        m_keyring.waitForFinished();
        m_bus.kill();
        m_bus.waitForFinished();
    }

    void replaceReadRemoveAcrossInstances()
    {
        const QString key = u"supabase_refresh_token"_s;
        {
            KeychainSecretStore store(service);
            QVERIFY(!store.read(key));
            store.replace(key, u"first"_s);
            store.replace(key, u"s\u00E9cond=token"_s);
            QCOMPARE(store.read(key), u"s\u00E9cond=token"_s);
        } // waits for the writes
        {
            KeychainSecretStore store(service);
            store.preload(key);
            QCOMPARE(store.read(key), u"s\u00E9cond=token"_s);
            store.remove(key);
            QVERIFY(!store.read(key));
        }
        KeychainSecretStore store(service);
        QVERIFY(!store.read(key));
    }

    void otherServicesDoNotSeeTheSecret()
    {
        const QString key = u"supabase_refresh_token"_s;
        {
            KeychainSecretStore store(service);
            store.replace(key, u"mine"_s);
        }
        KeychainSecretStore other(u"com.mireo.other.pulse"_s);
        QVERIFY(!other.read(key));
        KeychainSecretStore(service).remove(key);
    }
};

QTEST_GUILESS_MAIN(TestKeychain)
#include "tst_keychain.moc"
