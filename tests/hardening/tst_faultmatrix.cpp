#include "PulseBinary.h"
#include "SettingsCheck.h"
#include "net/HttpClient.h"
#include "support/PrivateSessionBus.h"
#include "support/StandinFixture.h"

#include <QJsonArray>
#include <QTest>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

enum class Endpoint { TrackRecord, Stats, Token, Portfolio, Swing, Positions };
enum class Fault {
    Good,
    Status,
    Slow,
    Dropped,
    NotJson,
    WrongTypes,
    Empty,
    Huge,
    Moved,
    Loop,
    Away
};

struct EndpointCase
{
    Endpoint endpoint;
    const char *path;
    // A body that would decode and show if a failed answer were ever read.
    QByteArray decoy;
    QByteArray wrongTypes;
    int timeoutMs;
};

const QList<EndpointCase> endpoints = {
    {Endpoint::TrackRecord, "/api/public/track-record",
     R"({"has_data":true,"consolidated":{"return_pct":99.9,"return_vs_spy_pct":9.9},"accounts":[{"positions":99}],"last_update":"2025-03-07T14:30:05.123Z"})",
     R"({"has_data":"yes","consolidated":{"return_pct":"99.9"}})", 10000},
    {Endpoint::Stats, "/api/public/stats", R"({"sparkline":[99,99,99,99]})",
     R"({"sparkline":"1,2,3"})", 8000},
    {Endpoint::Token, "/auth/v1/token",
     R"({"access_token":"decoy-access","refresh_token":"decoy-refresh","expires_in":3600,"token_type":"bearer"})",
     R"({"access_token":12,"refresh_token":["x"]})", 10000},
    {Endpoint::Portfolio, "/api/mobile/portfolio",
     R"({"plan":"decoy","accounts":[],"totals":{"equity":99.9}})", R"({"accounts":"none"})", 10000},
    {Endpoint::Swing, "/api/mobile/signals/swing",
     R"({"decidedAt":"2025-03-07T14:15:00.000Z","signals":[{"symbol":"DECOY"}]})",
     R"({"decidedAt":5,"signals":[]})", 10000},
    {Endpoint::Positions, "/api/mobile/positions",
     R"({"accounts":[{"positions":[{"symbol":"DECOY","marketValue":1}]}]})",
     R"({"accounts":[{"positions":[{"symbol":1}]}]})", 10000},
};

struct FaultCase
{
    Fault fault;
    const char *name;
    int status = 200;
};

const QList<FaultCase> faults = {
    {Fault::Good, "200"},        {Fault::Status, "204", 204}, {Fault::Status, "301", 301},
    {Fault::Status, "400", 400}, {Fault::Status, "401", 401}, {Fault::Status, "404", 404},
    {Fault::Status, "500", 500}, {Fault::Status, "503", 503}, {Fault::Slow, "slow"},
    {Fault::Dropped, "cut"},     {Fault::NotJson, "html"},    {Fault::WrongTypes, "types"},
    {Fault::Empty, "empty"},     {Fault::Huge, "50MB"},       {Fault::Moved, "moved", 308},
    {Fault::Loop, "loop", 302},  {Fault::Away, "away", 307}};

standin::Override answerFor(const EndpointCase &target, const FaultCase &fault,
                            const QUrl &elsewhere)
{
    standin::Override answer;
    answer.status = fault.status;
    // A failed status carries the decoy, except those that never have a body.
    answer.body = fault.status == 204 || fault.status == 301 ? QByteArray() : target.decoy;
    switch (fault.fault) {
    case Fault::Good:
    case Fault::Status:
        break;
    // Just past the client's limit; the stand-in's late write goes to a closed socket.
    case Fault::Slow:
        answer.delayMs = target.timeoutMs + 1000;
        break;
    case Fault::Dropped:
        answer.drop = true;
        break;
    case Fault::NotJson:
        answer.body = "<html><body>busy</body></html>";
        answer.contentType = "text/html";
        break;
    case Fault::WrongTypes:
        answer.body = target.wrongTypes;
        break;
    case Fault::Empty:
        answer.body.clear();
        break;
    // Valid JSON that would show, padded to 50 MB: only a cap on the body keeps it out.
    case Fault::Huge:
        answer.body += QByteArray(50 * 1024 * 1024 - answer.body.size(), ' ');
        break;
    // 308 on the same origin: followed, and it works; the token grant keeps its query.
    case Fault::Moved:
        answer.location =
            QByteArray(target.path) +
            (target.endpoint == Endpoint::Token ? "?grant_type=refresh_token&moved=1" : "?moved=1");
        break;
    // 302 to itself, hop after hop: a bounded number of requests, then a failure.
    case Fault::Loop:
        answer.location = target.path;
        break;
    // 307 to another origin, which answers 404: nothing secret may reach it.
    case Fault::Away:
        answer.location = elsewhere.resolved(QUrl(QString::fromLatin1(target.path))).toEncoded();
        break;
    }
    return answer;
}

} // namespace

// Every endpoint a headless run calls, against every way a server can fail, through the binary:
// the last good numbers stay, the rules' words say so, no failed body is read, nothing loops.
class TestFaultMatrix : public QObject
{
    Q_OBJECT

    testing::PrivateKeyring m_keyring;
    std::unique_ptr<testing::PulseBinary> m_binary;
    testing::StandinFixture m_standin;
    // Another origin, where redirects may point: it must never see a credential or a token.
    testing::StandinFixture m_elsewhere;

    bool m_primed = false;
    QJsonObject m_good;
    QString m_cachedAsOf;

    QMap<int, QMap<int, QString>> m_matrix; // endpoint, fault row -> "ok" / "FAIL"

    QJsonObject statusRun()
    {
        m_standin.server.clearRequests();
        const QJsonObject status = m_binary->status(m_standin.url());
        if (const QJsonValue asOf = status[u"account"_s][u"portfolioAsOf"_s]; asOf.isString())
            m_cachedAsOf = asOf.toString();
        return status;
    }

    bool prime()
    {
        if (!testing::appKeychain().read(testing::refreshTokenKey))
            testing::appKeychain().replace(testing::refreshTokenKey,
                                           m_standin.server.issueSession().refreshToken);
        m_good = statusRun();
        const QJsonObject account = m_good[u"account"_s].toObject();
        m_primed = account[u"signedIn"_s] == true && m_good[u"public"_s][u"lastError"_s].isNull() &&
                   !account[u"positions"_s].toArray().isEmpty();
        return m_primed;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (const QString why = m_keyring.start(); !why.isEmpty())
            QSKIP(qPrintable(why));
        m_binary = std::make_unique<testing::PulseBinary>(m_keyring.environment());
        QVERIFY(prime());
    }

    void init()
    {
        if (!m_primed)
            QVERIFY(prime());
    }

    void faultIsContained_data()
    {
        QTest::addColumn<int>("endpoint");
        QTest::addColumn<int>("fault");
        for (const EndpointCase &target : endpoints)
            for (int row = 0; row < faults.size(); ++row)
                // A slow answer costs a time-out: one per limit; the account calls share one.
                if (faults[row].fault != Fault::Slow || target.endpoint <= Endpoint::Token)
                    QTest::addRow("%s %s", target.path, faults[row].name)
                        << int(target.endpoint) << row;
    }

    void faultIsContained()
    {
        QFETCH(int, endpoint);
        QFETCH(int, fault);
        const EndpointCase &target = endpoints[endpoint];
        const FaultCase &kind = faults[fault];
        m_matrix[endpoint][fault] = u"FAIL"_s;
        m_primed = false;

        // How many requests one fetch of the path costs: redirects add theirs.
        const int hops = kind.fault == Fault::Moved  ? 2
                         : kind.fault == Fault::Loop ? net::HttpClient::maxRedirects + 1
                                                     : 1;
        if (kind.fault != Fault::Good)
            m_standin.server.overrideNext(QString::fromLatin1(target.path),
                                          answerFor(target, kind, m_elsewhere.url()),
                                          kind.fault == Fault::Loop ? hops : 1);
        m_elsewhere.server.clearRequests();
        // A refresh token's POST never follows it there (checked below), so nothing is queued.
        if (kind.fault == Fault::Away && Endpoint(endpoint) != Endpoint::Token)
            m_elsewhere.answer(QString::fromLatin1(target.path), 404, target.decoy);
        const QString asOfBefore = m_cachedAsOf;
        const QString token =
            testing::appKeychain().read(testing::refreshTokenKey).value_or(QString());
        const QJsonObject status = statusRun();
        QVERIFY(!status.isEmpty());
        const QJsonObject pub = status[u"public"_s].toObject();
        const QJsonObject account = status[u"account"_s].toObject();
        const bool failed = kind.fault != Fault::Good && kind.fault != Fault::Moved;
        const auto on = [&](Endpoint e) { return failed && Endpoint(endpoint) == e; };

        // No storm: one request per path (a redirect's hops aside), none after a failed step.
        const bool noSession = on(Endpoint::Token);
        const bool noFollowUps = noSession || on(Endpoint::Portfolio);
        for (const EndpointCase &each : endpoints) {
            const bool skipped = (each.endpoint == Endpoint::Stats && on(Endpoint::TrackRecord)) ||
                                 (each.endpoint == Endpoint::Portfolio && noSession) ||
                                 (each.endpoint >= Endpoint::Swing && noFollowUps);
            const int times = skipped ? 0 : each.endpoint == target.endpoint ? hops : 1;
            QVERIFY2(m_standin.requestsTo(QString::fromLatin1(each.path)) == times, each.path);
        }

        // The other origin got what a redirect sent it, and nothing that was only ours.
        const auto &away = m_elsewhere.server.requests();
        const bool sendsBody = Endpoint(endpoint) == Endpoint::Token;
        QCOMPARE(away.size(), kind.fault == Fault::Away && !sendsBody ? 1 : 0);
        for (const auto &request : away) {
            QVERIFY(request.header("Authorization").isEmpty());
            QVERIFY(request.header("apikey").isEmpty());
            QVERIFY(!request.body.contains(token.toUtf8()));
        }

        // The public side: the cached title stays, only a failed track record says "offline".
        QCOMPARE(status[u"title"_s], m_good[u"title"_s]);
        QCOMPARE(pub[u"returnPct"_s], m_good[u"public"_s][u"returnPct"_s]);
        QCOMPARE(pub[u"lastError"_s],
                 on(Endpoint::TrackRecord)
                     ? QJsonValue(u"offline \u2014 showing last known numbers"_s)
                     : QJsonValue());
        QCOMPARE(pub[u"sparkline"_s].toArray().isEmpty(),
                 on(Endpoint::TrackRecord) || on(Endpoint::Stats));

        const bool deadSession = on(Endpoint::Token) && (kind.status == 400 || kind.status == 401);
        const QString stored =
            testing::appKeychain().read(testing::refreshTokenKey).value_or(QString());
        QVERIFY(!stored.startsWith(u"decoy"_s));
        QCOMPARE(stored.isEmpty(), deadSession);
        QCOMPARE(account[u"signedIn"_s], !on(Endpoint::Token));
        const bool offline = on(Endpoint::Token) && !deadSession;
        QCOMPARE(account[u"lastError"_s],
                 offline ? QJsonValue(u"offline \u2014 account data may be stale"_s)
                         : QJsonValue());
        QCOMPARE(account[u"totals"_s],
                 deadSession ? QJsonValue() : m_good[u"account"_s][u"totals"_s]);
        if (on(Endpoint::Portfolio) || on(Endpoint::Token))
            QCOMPARE(account[u"portfolioAsOf"_s].toString(), deadSession ? QString() : asOfBefore);
        QCOMPARE(account[u"todayDecision"_s].isNull(), noFollowUps || on(Endpoint::Swing));
        QCOMPARE(account[u"positions"_s].toArray().isEmpty(),
                 noFollowUps || on(Endpoint::Positions));
        QVERIFY(!QJsonDocument(status).toJson().contains("DECOY"));

        // What is left on disk is whole, and the caches survive everything but a dead session.
        const QStringList problems = testing::settingsProblems(m_binary->settingsPath());
        QVERIFY2(problems.isEmpty(), qPrintable(problems.join(u"; "_s)));
        QSettings settings(m_binary->settingsPath(), QSettings::IniFormat);
        QVERIFY(settings.contains(u"cache.pulse.returnPct"_s));
        QCOMPARE(settings.contains(u"cache.portfolio.json"_s), !deadSession);

        m_primed = !deadSession;
        m_matrix[endpoint][fault] = u"ok"_s;
    }

    // The table scripts/harden shows: "ok", "FAIL", or "-" for a case not run.
    void cleanupTestCase()
    {
        QByteArray table = QByteArray("endpoint").leftJustified(28);
        for (const FaultCase &fault : faults)
            table += QByteArray(fault.name).rightJustified(6);
        for (const EndpointCase &target : endpoints) {
            table += '\n' + QByteArray(target.path).leftJustified(28);
            for (int row = 0; row < faults.size(); ++row)
                table +=
                    m_matrix[int(target.endpoint)].value(row, u"-"_s).toLatin1().rightJustified(6);
        }
        std::fprintf(stdout, "%s\n", table.constData());
    }
};

QTEST_GUILESS_MAIN(TestFaultMatrix)
#include "tst_faultmatrix.moc"
