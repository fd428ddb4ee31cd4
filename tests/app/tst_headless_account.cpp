#include "account/AuthStore.h"
#include "platform/linux/KeychainSecretStore.h"
#include "settings/MireoConfig.h"
#include "support/PrivateKeyring.h"
#include "support/ProcessRun.h"
#include "support/StandinFixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

// The real binary with a real keychain: a stored session is renewed and the account shows in
// the status JSON; a revoked one is removed; offline, the cached portfolio is shown.
class TestHeadlessAccount : public QObject
{
    Q_OBJECT

    testing::PrivateKeyring m_keyring;
    QTemporaryDir m_config;
    const QString m_key = QString::fromLatin1(AuthStore::refreshTokenKey);

    using Run = testing::ProcessRun;

    Run run(const QUrl &service, const QStringList &arguments)
    {
        QProcessEnvironment env = m_keyring.environment();
        env.insert(u"MIREO_SITE_URL"_s, service.toString());
        env.insert(u"MIREO_SUPABASE_URL"_s, service.toString());
        env.insert(u"XDG_CONFIG_HOME"_s, m_config.path());
        return testing::runToEnd(QStringLiteral(MIREO_PULSE_BINARY), arguments, env);
    }

    QJsonObject account(const QUrl &service)
    {
        const Run result = run(service, {u"--status-json"_s});
        if (result.exitCode != 0)
            qFatal("--status-json failed: %s", result.err.constData());
        return QJsonDocument::fromJson(result.out).object().value(u"account"_s).toObject();
    }

    QByteArray settingsFile() const
    {
        QFile file(m_config.filePath(u"mireo/pulse.conf"_s));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    void storeRefreshToken(const QString &token)
    {
        KeychainSecretStore(MireoConfig::keychainService()).replace(m_key, token);
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (const QString why = m_keyring.start(); !why.isEmpty())
            QSKIP(qPrintable(why));
    }

    void storedSessionShowsTheAccount()
    {
        testing::StandinFixture standin;
        const standin::Session session = standin.server.issueSession();
        storeRefreshToken(session.refreshToken);

        const QJsonObject signedIn = account(standin.url());
        QCOMPARE(signedIn[u"signedIn"_s], true);
        QCOMPARE(signedIn[u"lastError"_s], QJsonValue());
        QVERIFY(signedIn[u"portfolioAsOf"_s].isString());
        QVERIFY(signedIn[u"totals"_s][u"equity"_s].isDouble());
        QVERIFY(signedIn[u"worker"_s][u"autoExecuteEnabled"_s].isBool());
        QVERIFY(!signedIn[u"accounts"_s].toArray().isEmpty());
        QVERIFY(signedIn[u"openPositions"_s].isDouble());
        QVERIFY(signedIn[u"todayDecision"_s][u"symbols"_s].isArray());
        QVERIFY(!signedIn[u"positions"_s].toArray().isEmpty());

        // The renewal rotated the stored token; no token is written anywhere but the keychain.
        KeychainSecretStore keychain(MireoConfig::keychainService());
        const QString rotated = keychain.read(m_key).value_or(QString());
        QVERIFY(!rotated.isEmpty() && rotated != session.refreshToken);
        QVERIFY(settingsFile().contains("cache.portfolio.json"));
        QVERIFY(!settingsFile().contains(rotated.toUtf8()));

        // The title follows the chosen metric.
        QCOMPARE(run(standin.url(), {u"--set-metric"_s, u"pnl"_s}).exitCode, 0);
        const Run title = run(standin.url(), {u"--print-title"_s});
        static const QRegularExpression dollars(u"^M [+-]\\$\\d+\n$"_s);
        QVERIFY2(dollars.match(QString::fromUtf8(title.out)).hasMatch(), title.out.constData());
        QVERIFY(!title.out.contains(rotated.toUtf8()) && !title.err.contains(rotated.toUtf8()));
        QCOMPARE(run(standin.url(), {u"--set-metric"_s, u"book"_s}).exitCode, 0);

        // Offline, the cached portfolio is shown under the offline line.
        const QJsonObject offline = account(testing::refusingUrl());
        QCOMPARE(offline[u"signedIn"_s], false);
        QVERIFY(offline[u"totals"_s].isObject());
        QCOMPARE(offline[u"lastError"_s], u"offline \u2014 account data may be stale"_s);

        // A revoked session signs out: the keychain item and the cache go.
        standin.server.revokeRefreshTokens();
        const QJsonObject revoked = account(standin.url());
        QCOMPARE(revoked[u"signedIn"_s], false);
        QCOMPARE(revoked[u"totals"_s], QJsonValue());
        QVERIFY(!KeychainSecretStore(MireoConfig::keychainService()).read(m_key));
        QVERIFY(!settingsFile().contains("cache.portfolio"));
    }
};

QTEST_GUILESS_MAIN(TestHeadlessAccount)
#include "tst_headless_account.moc"
