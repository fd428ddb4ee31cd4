#include "platform/linux/KeychainProcessStore.h"
#include "platform/linux/KeychainRequests.h"
#include "platform/linux/KeychainSecretStore.h"
#include "support/PrivateSessionBus.h"

#include <QCoroTask>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

using namespace Qt::StringLiterals;

// gnome-keyring on a private session bus, so the user's own keyring is never touched.
class TestKeychain : public QObject
{
    Q_OBJECT

    testing::PrivateKeyring m_keyring;
    const QString service = u"com.mireo.test.pulse"_s;
    const QString key = u"supabase_refresh_token"_s;

    static std::optional<QString> readThrough(KeychainProcessStore &store, const QString &key)
    {
        const SecretStore::Read read = QCoro::waitFor(store.read(key));
        if (!read.answered)
            qFatal("the keychain did not answer");
        return read.value;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (const QString why = m_keyring.start(); !why.isEmpty())
            QSKIP(qPrintable(why));
    }

    // Unawaited writes land in order, and one process at a time holds the keychain.
    void helperStoresShareTheKeychain()
    {
        KeychainProcessStore first(QStringLiteral(MIREO_KEYCHAIN_HELPER), service);
        KeychainProcessStore second(QStringLiteral(MIREO_KEYCHAIN_HELPER), service);
        QVERIFY(!readThrough(first, key));
        first.replace(key, u"first"_s);
        first.replace(key, u"s\u00E9cond token\nwith a line"_s);
        QCOMPARE(readThrough(first, key), u"s\u00E9cond token\nwith a line"_s);
        KeychainSecretStore(service).remove(key); // waits for the delete
        QVERIFY(!readThrough(first, key));

        second.setHoldPatience(std::chrono::milliseconds(100));
        auto held = QCoro::waitFor(first.hold());
        QVERIFY(held);
        QVERIFY(!QCoro::waitFor(second.hold()));
        held.reset();
        QVERIFY(QCoro::waitFor(second.hold()));
    }

    // The hold's lock lives only in a folder that is the user's alone; with none, no one holds.
    void theLockFolderIsPrivate_data()
    {
        QTest::addColumn<bool>("runtimeOpenToOthers");
        QTest::addColumn<bool>("temporaryFolder");
        QTest::addColumn<bool>("held");
        QTest::newRow("runtime folder 0700") << false << true << true;
        QTest::newRow("runtime folder open to others: a private one instead")
            << true << true << true;
        QTest::newRow("no private folder anywhere") << true << false << false;
    }
    void theLockFolderIsPrivate()
    {
        QFETCH(bool, runtimeOpenToOthers);
        QFETCH(bool, temporaryFolder);
        QFETCH(bool, held);
        QTemporaryDir runtime, temporary;
        if (runtimeOpenToOthers)
            QVERIFY(QFile::setPermissions(runtime.path(), QFile::ReadOwner | QFile::WriteOwner |
                                                              QFile::ExeOwner | QFile::ReadOther |
                                                              QFile::WriteOther | QFile::ExeOther));
        const QByteArray savedRuntime = qgetenv("XDG_RUNTIME_DIR"), savedTemp = qgetenv("TMPDIR");
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
        // A temporary "folder" that is a file: nothing can be made under it.
        const QString notAFolder = temporary.filePath(u"file"_s);
        QFile(notAFolder).open(QIODevice::WriteOnly);
        qputenv("TMPDIR", QFile::encodeName(temporaryFolder ? temporary.path() : notAFolder));
        KeychainProcessStore store(QStringLiteral(MIREO_KEYCHAIN_HELPER), service);
        store.setHoldPatience(std::chrono::milliseconds(100));
        const bool had = bool(QCoro::waitFor(store.hold()));
        qputenv("XDG_RUNTIME_DIR", savedRuntime);
        qputenv("TMPDIR", savedTemp);
        QCOMPARE(had, held);
        QCOMPARE(QDir(runtime.path()).isEmpty(), runtimeOpenToOthers);
    }

    // No keychain service at all kept no session: an answer, unlike a locked keychain.
    void noKeychainServiceIsNoSession()
    {
        testing::PrivateSessionBus bare;
        QVERIFY(bare.isRunning());
        const QByteArray saved = qgetenv("DBUS_SESSION_BUS_ADDRESS");
        qputenv("DBUS_SESSION_BUS_ADDRESS", bare.address().toUtf8());
        KeychainProcessStore store(QStringLiteral(MIREO_KEYCHAIN_HELPER), service);
        const SecretStore::Read read = QCoro::waitFor(store.read(key));
        qputenv("DBUS_SESSION_BUS_ADDRESS", saved);
        QVERIFY(read.answered);
        QVERIFY(!read.value);
    }

    void aMissingHelperIsNoAnswer()
    {
        KeychainProcessStore store(u"/nonexistent/mireo-pulse-keychain"_s, service);
        QCoro::waitFor(store.replace(key, u"lost"_s));
        QVERIFY(!QCoro::waitFor(store.read(key)).answered);
        QVERIFY(!KeychainSecretStore(service).read(key));
        QVERIFY(!keychain_requests::decodeReadAnswer("value dG9r").answered); // cut short
        QVERIFY(!keychain_requests::decodeReadAnswer("locked\n").answered);
    }
};

QTEST_GUILESS_MAIN(TestKeychain)
#include "tst_keychain.moc"
