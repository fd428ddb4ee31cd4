#include "hardening/PulseBinary.h"
#include "support/PrivateKeyring.h"
#include "support/StandinFixture.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

// The real binary with a real keychain: a stored session is renewed and the account shows in
// the status JSON and the title. What failures, revocation and an offline start leave behind is
// the fault matrix's; where tokens may not go, the secrets audit's.
class TestHeadlessAccount : public QObject
{
    Q_OBJECT

    testing::PrivateKeyring m_keyring;

private Q_SLOTS:
    void initTestCase()
    {
        if (const QString why = m_keyring.start(); !why.isEmpty())
            QSKIP(qPrintable(why));
    }

    void storedSessionShowsTheAccount()
    {
        testing::StandinFixture standin;
        testing::PulseBinary binary(m_keyring.environment());
        const standin::Session session = standin.server.issueSession();
        testing::appKeychain().replace(testing::refreshTokenKey, session.refreshToken);

        const QJsonObject signedIn = binary.status(standin.url())[u"account"_s].toObject();
        QCOMPARE(signedIn[u"signedIn"_s], true);
        QCOMPARE(signedIn[u"lastError"_s], QJsonValue());
        QVERIFY(signedIn[u"portfolioAsOf"_s].isString());
        QVERIFY(signedIn[u"totals"_s][u"equity"_s].isDouble());
        QVERIFY(signedIn[u"worker"_s][u"autoExecuteEnabled"_s].isBool());
        QVERIFY(!signedIn[u"accounts"_s].toArray().isEmpty());
        QVERIFY(signedIn[u"openPositions"_s].isDouble());
        QVERIFY(signedIn[u"todayDecision"_s][u"symbols"_s].isArray());
        QVERIFY(!signedIn[u"positions"_s].toArray().isEmpty());
        // The renewal rotated the stored token.
        const QString rotated =
            testing::appKeychain().read(testing::refreshTokenKey).value_or(QString());
        QVERIFY(!rotated.isEmpty() && rotated != session.refreshToken);

        // The title follows the chosen metric.
        QCOMPARE(binary.run(standin.url(), {u"--set-metric"_s, u"pnl"_s}).exitCode, 0);
        const testing::ProcessRun title = binary.run(standin.url(), {u"--print-title"_s});
        static const QRegularExpression dollars(u"^M [+-]\\$\\d+\n$"_s);
        QVERIFY2(dollars.match(QString::fromUtf8(title.out)).hasMatch(), title.out.constData());
    }
};

QTEST_GUILESS_MAIN(TestHeadlessAccount)
#include "tst_headless_account.moc"
