#include "RecordingNotifier.h"
#include "account/AuthStore.h"
#include "net/HttpClient.h"
#include "notify/NotificationStore.h"
#include "settings/MireoConfig.h"
#include "support/AccountFakes.h"
#include "support/StandinFixture.h"
#include "support/TestSupport.h"

#include <QSignalSpy>
#include <QTest>

namespace {
const QString portfolioPath = QStringLiteral("/api/mobile/portfolio");
const QString swingPath = QStringLiteral("/api/mobile/signals/swing");
const QString tradesPath = QStringLiteral("/api/mobile/trades");
const QString positionsPath = QStringLiteral("/api/mobile/positions");
const QString decisionKey = QStringLiteral("notify.lastDecisionAt");
const QString fillKey = QStringLiteral("notify.lastFillAt");
const QString killSwitchKey = QStringLiteral("notify.killSwitchOn");

// Absent marks and texts are null QStrings in the tables.
const QString none;

QByteArray swing(const char *decidedAt, const char *signals = "")
{
    return QByteArray(R"({"decidedAt":")") + decidedAt + R"(","signals":[)" + signals + "]}";
}

QByteArray portfolio(const char *worker)
{
    return QByteArray(R"({"accounts":[])") + (*worker ? "," : "") + worker + "}";
}

// One line per notification: "identifier | title | body", and "(silent)" without the sound.
QStringList lines(const QList<Notifier::Notification> &delivered)
{
    QStringList result;
    for (const auto &notification : delivered) {
        result << QStringList{notification.identifier, notification.title, notification.body}.join(
                      QStringLiteral(" | ")) +
                      (notification.defaultSound ? QString() : QStringLiteral(" (silent)"));
    }
    return result;
}
QStringList identifiers(const QList<Notifier::Notification> &delivered)
{
    QStringList result;
    for (const auto &notification : delivered)
        result << notification.identifier;
    return result;
}
} // namespace

class TestNotificationStore : public QObject
{
    Q_OBJECT

    // A signed-in account against the stand-in, and the store under test over its own marks.
    struct Rig
    {
        testing::StandinFixture standin;
        net::HttpClient http{QByteArray(MireoConfig::userAgent)};
        testing::TempDefaults accountDefaults;
        testing::TempDefaults marks;
        testing::ManualClock clock;
        testing::InMemorySecretStore secrets;
        testing::RecordingBrowser browser;
        testing::RecordingNotifier notifier;
        AuthStore auth{http,    *accountDefaults,
                       clock,   secrets,
                       browser, {standin.url(), testing::refusingUrl(), QByteArray("anon")}};
        NotificationStore store{notifier, *marks};

        Rig() { http.setTimeoutLimit(testing::shortTimeout); }

        // Signed in with no portfolio yet.
        bool signIn()
        {
            // The launch restore comes first, as in the app; with no stored session it is quick.
            QSignalSpy restored(&auth, &AuthStore::restoreFinished);
            if (!restored.wait(5000))
                return false;
            standin.answer(portfolioPath, 500, {});
            auth.handleCallback(
                QUrl("mireopulse://auth#access_token=A&refresh_token=R&expires_in=3600"));
            // The sign-in's own account load ends in an error line: nothing to show.
            const bool loaded =
                QTest::qWaitFor([this] { return auth.lastError().has_value(); }, 5000);
            standin.server.reset();
            return loaded && auth.isSignedIn();
        }
        // Signed in, notifications allowed.
        bool start()
        {
            store.requestPermission();
            notifier.answer(true);
            return signIn() && store.enabled();
        }
        void holdPortfolio(const char *worker)
        {
            standin.answer(portfolioPath, 200, portfolio(worker));
            standin.answer(swingPath, 404, {});
            standin.answer(positionsPath, 404, {});
            QCoro::waitFor(auth.loadPortfolio());
            standin.server.reset();
        }
        void check(int swingStatus, const QByteArray &swingBody, int tradesStatus,
                   const QByteArray &tradesBody)
        {
            standin.answer(swingPath, swingStatus, swingBody);
            standin.answer(tradesPath, tradesStatus, tradesBody);
            QCoro::waitFor(store.check(auth));
        }
        void setMark(const QString &key, const QString &value)
        {
            if (!value.isNull())
                marks->setString(key, value);
        }
        QString mark(const QString &key) { return marks->string(key).value_or(none); }
    };

private Q_SLOTS:
    void init()
    {
        Defaults::shared().setString(QStringLiteral("app.language"), QStringLiteral("en"));
    }

    // Decision rows answer the swing call, fill rows the trades call; the other one fails.
    void marks_data()
    {
        QTest::addColumn<QString>("mark");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("markAfter");
        QTest::addColumn<QStringList>("posted");
        QTest::addColumn<QString>("key");

        const QString d0 = "2026-03-02T14:15:00.000Z";
        const QString d1 = "2026-03-03T14:15:00.000Z";
        QTest::newRow("first decision ever only sets the mark")
            << none << 200 << swing("2026-03-03T14:15:00.000Z", R"({"symbol":"AAPL"})") << d1
            << QStringList() << decisionKey;
        QTest::newRow("new decision with symbols, in the server's order")
            << d0 << 200
            << swing("2026-03-03T14:15:00.000Z", R"({"symbol":"MSFT"},{"symbol":"AAPL"})") << d1
            << QStringList{"decision-" + d1 + " | Mireo decided | Today's signals: MSFT, AAPL"}
            << decisionKey;
        QTest::newRow("new decision without symbols")
            << d0 << 200 << swing("2026-03-03T14:15:00.000Z") << d1
            << QStringList{"decision-" + d1 +
                           " | Mireo decided | No trade today. Discipline is part of the edge."}
            << decisionKey;
        QTest::newRow("same decision again")
            << d1 << 200 << swing("2026-03-03T14:15:00.000Z") << d1 << QStringList() << decisionKey;
        QTest::newRow("an older decision is new too")
            << d1 << 200 << swing("2026-03-02T14:15:00.000Z", R"({"symbol":"X"})") << d0
            << QStringList{"decision-" + d0 + " | Mireo decided | Today's signals: X"}
            << decisionKey;
        QTest::newRow("no decision yet leaves the mark")
            << d0 << 200 << QByteArray(R"({"signals":[]})") << d0 << QStringList() << decisionKey;
        QTest::newRow("failed request leaves the mark")
            << d0 << 500 << swing("2026-03-03T14:15:00.000Z") << d0 << QStringList() << decisionKey;
        const QByteArray day = R"({"trades":[
            {"symbol":"D","side":"buy","filled_at":"2026-03-02T16:00:00Z","fill_price":4},
            {"symbol":"A","side":"buy","filled_at":"2026-03-02T14:00:00Z","fill_price":1},
            {"symbol":"C","side":"sell","filled_at":"2026-03-02T15:30:00Z","fill_price":3},
            {"symbol":"B","side":"buy","filled_at":"2026-03-02T15:00:00Z","fill_price":2}]})";
        const QString t15 = "2026-03-02T15:00:00Z";
        const QString t16 = "2026-03-02T16:00:00Z";

        QTest::newRow("first observation only sets the mark")
            << none << 200 << day << t16 << QStringList() << fillKey;
        QTest::newRow("only fills after the mark, oldest first")
            << t15 << 200 << day << t16
            << QStringList{"fill-2026-03-02T15:30:00Z-C | Order filled | SELL C @ $3.00",
                           "fill-2026-03-02T16:00:00Z-D | Order filled | BUY D @ $4.00"}
            << fillKey;
        QTest::newRow("newest equal to the mark")
            << t16 << 200 << day << t16 << QStringList() << fillKey;
        // "15:00:00Z" sorts after "15:00:00.5Z" although it is the earlier instant.
        QTest::newRow("text order, not time order")
            << "2026-03-02T15:00:00.5Z" << 200 << day << t16
            << QStringList{"fill-2026-03-02T15:00:00Z-B | Order filled | BUY B @ $2.00",
                           "fill-2026-03-02T15:30:00Z-C | Order filled | SELL C @ $3.00",
                           "fill-2026-03-02T16:00:00Z-D | Order filled | BUY D @ $4.00"}
            << fillKey;
        QTest::newRow("trades without a fill time are not fills, whatever the status")
            << t15 << 200
            << QByteArray(R"({"trades":[{"symbol":"N","status":"filled","filled_at":null},
                {"symbol":"M","filled_at":"2026-03-02T15:10:00Z"},{"symbol":"O","status":"new"}]})")
            << "2026-03-02T15:10:00Z"
            << QStringList{"fill-2026-03-02T15:10:00Z-M | Order filled | TRADE M"} << fillKey;
        QTest::newRow("the mark follows the newest fill, also back in time")
            << "2026-03-02T17:00:00Z" << 200 << day << t16 << QStringList() << fillKey;
        QTest::newRow("empty list leaves the mark")
            << t15 << 200 << QByteArray(R"({"trades":[]})") << t15 << QStringList() << fillKey;
        QTest::newRow("side upper-cased, price with two decimals and no grouping")
            << t15 << 200 << QByteArray(R"({"trades":[
                {"symbol":"AAPL","side":"buy","filled_at":"2026-03-02T15:01:00Z","fill_price":1234.5},
                {"symbol":"BRK","side":"Sell","filled_at":"2026-03-02T15:02:00Z","fill_price":1234567},
                {"symbol":"P","side":"buy","filled_at":"2026-03-02T15:03:00Z","fill_price":0.005},
                {"symbol":"Q","side":"buy","filled_at":"2026-03-02T15:04:00Z","fill_price":187.255},
                {"symbol":"R","filled_at":"2026-03-02T15:05:00Z","fill_price":-2}]})")
            << "2026-03-02T15:05:00Z"
            << QStringList{"fill-2026-03-02T15:01:00Z-AAPL | Order filled | BUY AAPL @ $1234.50",
                           "fill-2026-03-02T15:02:00Z-BRK | Order filled | SELL BRK @ $1234567.00",
                           "fill-2026-03-02T15:03:00Z-P | Order filled | BUY P @ $0.01",
                           "fill-2026-03-02T15:04:00Z-Q | Order filled | BUY Q @ $187.25",
                           "fill-2026-03-02T15:05:00Z-R | Order filled | TRADE R @ $-2.00"}
            << fillKey;
        QTest::newRow("equal times keep the server's order; same symbol shares the identifier")
            << t15 << 200 << QByteArray(R"({"trades":[
                {"symbol":"Z","side":"buy","filled_at":"2026-03-02T15:20:00Z"},
                {"symbol":"A","side":"buy","filled_at":"2026-03-02T15:20:00Z","fill_price":1},
                {"symbol":"Z","side":"buy","filled_at":"2026-03-02T15:20:00Z","fill_price":2}]})")
            << "2026-03-02T15:20:00Z"
            << QStringList{"fill-2026-03-02T15:20:00Z-Z | Order filled | BUY Z",
                           "fill-2026-03-02T15:20:00Z-A | Order filled | BUY A @ $1.00",
                           "fill-2026-03-02T15:20:00Z-Z | Order filled | BUY Z @ $2.00"}
            << fillKey;
        QTest::newRow("undecodable trades leave the mark")
            << t15 << 200 << QByteArray(R"({"trades":[{"side":"buy"}]})") << t15 << QStringList()
            << fillKey;
        QTest::newRow("failed trades request leaves the mark")
            << t15 << 503 << day << t15 << QStringList() << fillKey;
    }
    void marks()
    {
        QFETCH(QString, mark);
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, markAfter);
        QFETCH(QStringList, posted);
        QFETCH(QString, key);
        Rig rig;
        QVERIFY(rig.start());
        rig.setMark(key, mark);
        if (key == decisionKey)
            rig.check(status, body, 404, {});
        else
            rig.check(404, {}, status, body);
        QCOMPARE(lines(rig.notifier.delivered), posted);
        QCOMPARE(rig.mark(key), markAfter);
    }

    void killSwitch_data()
    {
        QTest::addColumn<QVariant>("mark");             // invalid: never written
        QTest::addColumn<QList<QByteArray>>("workers"); // one check per worker, "-": no portfolio
        QTest::addColumn<QVariant>("markAfter");
        QTest::addColumn<QStringList>("posted");

        const QString on =
            "killswitch-on | Kill switch activated | Mireo stopped executing on your account. "
            "Check the app.";
        const QString off =
            "killswitch-off | Kill switch cleared | Automatic execution is available again.";
        const QByteArray switchOn = R"("worker":{"killSwitch":true})";
        const QByteArray switchOff = R"("worker":{"killSwitch":false})";

        QTest::newRow("first sighting on is announced")
            << QVariant() << QList<QByteArray>{switchOn} << QVariant(true) << QStringList{on};
        QTest::newRow("first sighting off is silent")
            << QVariant() << QList<QByteArray>{switchOff} << QVariant(false) << QStringList();
        QTest::newRow("on, on announces once")
            << QVariant() << QList<QByteArray>{switchOn, switchOn} << QVariant(true)
            << QStringList{on};
        QTest::newRow("on, off") << QVariant() << QList<QByteArray>{switchOn, switchOff}
                                 << QVariant(false) << QStringList{on, off};
        QTest::newRow("null switch counts as off")
            << QVariant(true) << QList<QByteArray>{R"("worker":{"killSwitch":null})"}
            << QVariant(false) << QStringList{off};
        QTest::newRow("no worker leaves the mark")
            << QVariant(true) << QList<QByteArray>{""} << QVariant(true) << QStringList();
        QTest::newRow("no portfolio leaves the mark")
            << QVariant() << QList<QByteArray>{"-"} << QVariant() << QStringList();
    }
    void killSwitch()
    {
        QFETCH(QVariant, mark);
        QFETCH(QList<QByteArray>, workers);
        QFETCH(QVariant, markAfter);
        QFETCH(QStringList, posted);
        Rig rig;
        QVERIFY(rig.start());
        if (mark.isValid())
            rig.marks->setBoolean(killSwitchKey, mark.toBool());
        for (const QByteArray &worker : workers) {
            if (worker != "-")
                rig.holdPortfolio(worker.constData());
            rig.check(404, {}, 404, {});
        }
        QCOMPARE(lines(rig.notifier.delivered), posted);
        const auto stored = rig.marks->boolean(killSwitchKey);
        QCOMPARE(stored.has_value(), markAfter.isValid());
        if (stored)
            QCOMPARE(*stored, markAfter.toBool());
    }

    // The checks run in order, and a failing or undecodable trades response does not keep the
    // kill switch from being looked at.
    void checksRunInOrderPastFailures_data()
    {
        QTest::addColumn<int>("tradesStatus");
        QTest::addColumn<QByteArray>("tradesBody");
        QTest::addColumn<bool>("fillPosted");
        QTest::newRow("trades fail") << 500 << QByteArray() << false;
        QTest::newRow("trades announce a fill")
            << 200
            << QByteArray(R"({"trades":[{"symbol":"F","filled_at":"2026-03-03T15:00:00Z"}]})")
            << true;
    }
    void checksRunInOrderPastFailures()
    {
        QFETCH(int, tradesStatus);
        QFETCH(QByteArray, tradesBody);
        QFETCH(bool, fillPosted);
        Rig rig;
        QVERIFY(rig.start());
        rig.setMark(decisionKey, "2026-03-02T14:15:00.000Z");
        rig.setMark(fillKey, "2026-03-02T15:00:00Z");
        rig.holdPortfolio(R"("worker":{"killSwitch":true})");
        rig.check(200, swing("2026-03-03T14:15:00.000Z"), tradesStatus, tradesBody);

        QStringList expected{"decision-2026-03-03T14:15:00.000Z", "killswitch-on"};
        if (fillPosted)
            expected.insert(1, "fill-2026-03-03T15:00:00Z-F");
        QCOMPARE(identifiers(rig.notifier.delivered), expected);

        QStringList paths;
        for (const auto &request : rig.standin.server.requests())
            paths << request.path;
        QCOMPARE(paths, (QStringList{swingPath, tradesPath}));
    }

    void gateClosedDoesNothing_data()
    {
        QTest::addColumn<QVariant>("permission"); // invalid: not answered yet
        QTest::addColumn<bool>("signedIn");
        QTest::newRow("before the permission answer") << QVariant() << true;
        QTest::newRow("permission refused") << QVariant(false) << true;
        QTest::newRow("signed out") << QVariant(true) << false;
    }
    void gateClosedDoesNothing()
    {
        QFETCH(QVariant, permission);
        QFETCH(bool, signedIn);
        Rig rig;
        if (signedIn)
            QVERIFY(rig.signIn());
        rig.holdPortfolio(R"("worker":{"killSwitch":true})");
        rig.store.requestPermission();
        QCOMPARE(rig.notifier.permissionRequests,
                 QList<Notifier::Permissions>{Notifier::Permission::Alert |
                                              Notifier::Permission::Sound});
        if (permission.isValid())
            rig.notifier.answer(permission.toBool());

        rig.check(200, swing("2026-03-03T14:15:00.000Z"), 200,
                  R"({"trades":[{"symbol":"F","filled_at":"2026-03-03T15:00:00Z"}]})");
        QCOMPARE(rig.notifier.delivered.size(), 0);
        QCOMPARE(rig.standin.server.requests().size(), 0);
        QCOMPARE(rig.marks->string(decisionKey), std::nullopt);
        QCOMPARE(rig.marks->string(fillKey), std::nullopt);
        QCOMPARE(rig.marks->boolean(killSwitchKey), std::nullopt);
    }

    // The launch check and the first poll tick can overlap: one value is announced once.
    void overlappingChecksAnnounceOnce()
    {
        Rig rig;
        QVERIFY(rig.start());
        rig.setMark(decisionKey, "2026-03-02T14:15:00.000Z");
        rig.setMark(fillKey, "2026-03-02T15:00:00Z");
        const QByteArray trades =
            R"({"trades":[{"symbol":"F","filled_at":"2026-03-03T15:00:00Z"}]})";
        rig.standin.answer(swingPath, 200, swing("2026-03-03T14:15:00.000Z"), 2);
        rig.standin.answer(tradesPath, 200, trades, 2);
        QCoro::Task<> first = rig.store.check(rig.auth);
        QCoro::Task<> second = rig.store.check(rig.auth);
        QCoro::waitFor(first);
        QCoro::waitFor(second);
        QCOMPARE(identifiers(rig.notifier.delivered),
                 (QStringList{"decision-2026-03-03T14:15:00.000Z", "fill-2026-03-03T15:00:00Z-F"}));
        QCOMPARE(rig.standin.server.requests().size(), 4);
    }
};

MIREO_TEST_MAIN_WITH_PRIVATE_CONFIG(TestNotificationStore)
#include "tst_notificationstore.moc"
