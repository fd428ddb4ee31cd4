#include "PulseBinary.h"
#include "support/PrivateSessionBus.h"
#include "support/StandinFixture.h"

#include <QDirIterator>
#include <QJsonDocument>
#include <QTest>
#include <csignal>

using namespace Qt::StringLiterals;

// A session's whole life with the real binary: no token reaches a file it writes, its output,
// its command line or its environment.
class TestSecrets : public QObject
{
    Q_OBJECT

    testing::PrivateKeyring m_keyring;

    // Where a token could surface, each with what it held.
    QList<std::pair<QString, QByteArray>> m_exposed;

    void expose(const QString &where, const QByteArray &what) { m_exposed.append({where, what}); }

    // A live `--follow --json` until it prints `shown` and the keychain agrees with `signedIn`;
    // its /proc command line and environment are read meanwhile.
    void followUntil(const testing::PulseBinary &binary, const testing::StandinFixture &standin,
                     const QByteArray &shown, bool signedIn, const QString &name)
    {
        QProcess follow;
        binary.start(follow, standin.url(), {u"--follow"_s, u"--json"_s});
        QByteArray out;
        const auto shownAndStored = [&] {
            out += follow.readAllStandardOutput();
            const bool stored = testing::appKeychain().read(testing::refreshTokenKey).has_value();
            return out.contains(shown) && stored == signedIn;
        };
        QVERIFY2(QTest::qWaitFor(shownAndStored, 20000), shown.constData());
        QByteArray proc;
        for (const QString &file : {u"cmdline"_s, u"environ"_s}) {
            QFile entry(u"/proc/%1/"_s.arg(follow.processId()) + file);
            QVERIFY(entry.open(QIODevice::ReadOnly));
            proc += entry.readAll();
        }
        // The places are read for real: the command line and the environment are there.
        QVERIFY(proc.contains("--follow") && proc.contains("MIREO_SITE_URL"));
        expose(name + u" /proc/pid/{cmdline,environ}"_s, proc);
        follow.terminate();
        QVERIFY(follow.waitForFinished(10000));
        expose(name, out + follow.readAllStandardOutput() + follow.readAllStandardError());
    }

    // Every token the service handed out or was shown, as the stand-in saw them.
    static QSet<QByteArray> tokensIn(const QList<standin::LoggedRequest> &requests)
    {
        QSet<QByteArray> tokens;
        for (const auto &request : requests) {
            if (const QByteArray bearer = request.header("Authorization"); !bearer.isEmpty())
                tokens.insert(bearer.mid(int(qstrlen("Bearer "))));
            const QJsonObject body = QJsonDocument::fromJson(request.body).object();
            if (const QString refresh = body[u"refresh_token"_s].toString(); !refresh.isEmpty())
                tokens.insert(refresh.toUtf8());
        }
        return tokens;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (const QString why = m_keyring.start(); !why.isEmpty())
            QSKIP(qPrintable(why));
    }

    void noTokenLeaks()
    {
        testing::StandinFixture standin;
        testing::PulseBinary binary(m_keyring.environment());
        QSet<QByteArray> tokens;

        // A session as the sign-in page would hand it over, stored where the app keeps it.
        const standin::Session session = standin.server.issueSession();
        tokens << session.accessToken.toUtf8() << session.refreshToken.toUtf8();
        testing::appKeychain().replace(testing::refreshTokenKey, session.refreshToken);

        // A live process renews the session and loads the account.
        followUntil(binary, standin, R"("positions":[{)", true, u"follow"_s);
        // Two more runs, each renewing the rotated token again.
        for (const QString &argument : {u"--status-json"_s, u"--print-title"_s}) {
            const testing::ProcessRun run = binary.run(standin.url(), {argument});
            QCOMPARE(run.exitCode, 0);
            expose(argument, run.out + run.err);
        }
        const std::optional<QString> rotated =
            testing::appKeychain().read(testing::refreshTokenKey);
        QVERIFY(rotated && *rotated != session.refreshToken);
        tokens << rotated->toUtf8();

        // Revoked: the next live process signs out.
        standin.server.revokeRefreshTokens();
        followUntil(binary, standin, R"("portfolioAsOf":null,"positions":[],"signedIn":false)",
                    false, u"signed-out follow"_s);
        QVERIFY(!testing::appKeychain().read(testing::refreshTokenKey));

        tokens += tokensIn(standin.server.requests());
        // The first pair and three renewals went by.
        QVERIFY2(tokens.size() >= 6, QByteArray::number(tokens.size()).constData());

        for (QDirIterator files(binary.folder(), QDir::Files, QDirIterator::Subdirectories);
             files.hasNext();) {
            QFile file(files.next());
            QVERIFY(file.open(QIODevice::ReadOnly));
            expose(file.fileName(), file.readAll());
        }
        QVERIFY(QFile::exists(binary.settingsPath()));

        for (const auto &[where, content] : std::as_const(m_exposed)) {
            for (const QByteArray &token : std::as_const(tokens)) {
                QVERIFY(token.size() >= 16);
                QVERIFY2(!content.contains(token), qPrintable(u"a token in "_s + where));
            }
        }
        qInfo("%d tokens checked in %d places: none found", int(tokens.size()),
              int(m_exposed.size()));
    }
};

QTEST_GUILESS_MAIN(TestSecrets)
#include "tst_secrets.moc"
