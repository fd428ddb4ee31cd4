#include "platform/linux/KeychainSecretStore.h"
#include "support/PrivateKeyring.h"

#include <QTest>

using namespace Qt::StringLiterals;

// The real Secret Service: gnome-keyring on a private session bus that this test starts, so the
// user's own keyring is never touched.
class TestKeychain : public QObject
{
    Q_OBJECT

    testing::PrivateKeyring m_keyring;
    const QString service = u"com.mireo.test.pulse"_s;

private Q_SLOTS:
    void initTestCase()
    {
        if (const QString why = m_keyring.start(); !why.isEmpty())
            QSKIP(qPrintable(why));
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
