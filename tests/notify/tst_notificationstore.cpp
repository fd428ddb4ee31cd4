#include "RecordingNotifier.h"
#include "notify/NotificationStore.h"
#include "support/AccountRig.h"

#include <QTest>
#include <vector>

using namespace Qt::StringLiterals;

namespace {
const QString portfolioPath = u"/api/mobile/portfolio"_s;
const QString swingPath = u"/api/mobile/signals/swing"_s;
const QString tradesPath = u"/api/mobile/trades"_s;
const QString decisionKey = u"notify.lastDecisionAt"_s;
const QString fillKey = u"notify.lastFillAt"_s;
const QString killSwitchKey = u"notify.killSwitchOn"_s;

QByteArray swing(const char *decidedAt, const char *signals = "")
{
    return QByteArray(R"({"decidedAt":")") + decidedAt + R"(","signals":[)" + signals + "]}";
}
QByteArray trades(const char *list)
{
    return QByteArray(R"({"trades":[)") + list + "]}";
}

// One line per notification: "identifier | title | body", and "(silent)" without the sound.
QStringList lines(const QList<Notifier::Notification> &delivered, bool identifiersOnly = false)
{
    QStringList result;
    for (const auto &notification : delivered)
        result << (identifiersOnly
                       ? notification.identifier
                       : QStringList{notification.identifier, notification.title, notification.body}
                                 .join(u" | "_s) +
                             (notification.defaultSound ? u""_s : u" (silent)"_s));
    return result;
}
} // namespace

class TestNotificationStore : public QObject
{
    Q_OBJECT

    struct Rig : testing::AccountRig
    {
        testing::TempDefaults marks;
        testing::RecordingNotifier notifier;
        NotificationStore notifications{notifier, *marks};

        // Signed in with no portfolio yet.
        bool signIn()
        {
            AuthStore &auth = startAndRestore();
            standin.answer(portfolioPath, 500, {});
            auth.beginSignIn();
            auth.handleCallback(
                QUrl(u"mireopulse://auth#access_token=A&refresh_token=R&expires_in=3600"_s));
            // The sign-in's own account load ends in an error line: nothing to show.
            const bool loaded = QTest::qWaitFor([&] { return auth.lastError().has_value(); });
            standin.server.reset();
            return loaded && auth.isSignedIn();
        }
        // Signed in, notifications allowed.
        bool start()
        {
            notifications.requestPermission();
            notifier.answer(true);
            return signIn() && notifications.enabled();
        }
        void holdPortfolio(const QByteArray &worker)
        {
            standin.answer(portfolioPath, 200,
                           R"({"accounts":[])" + (worker.isEmpty() ? "" : "," + worker) + "}");
            standin.answer(swingPath, 404, {});
            standin.answer(u"/api/mobile/positions"_s, 404, {});
            QCoro::waitFor(store->loadPortfolio());
            standin.server.reset();
        }
        void check(int swingStatus, const QByteArray &swingBody, int tradesStatus,
                   const QByteArray &tradesBody)
        {
            standin.answer(swingPath, swingStatus, swingBody);
            standin.answer(tradesPath, tradesStatus, tradesBody);
            QCoro::waitFor(notifications.check(*store));
        }
    };

private Q_SLOTS:
    void init() { Defaults::shared().setString(u"app.language"_s, u"en"_s); }

    // Decision rows answer the swing call, fill rows the trades call; the other one fails.
    void marks_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("mark");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("markAfter");
        QTest::addColumn<QStringList>("posted");
        const auto row = [](const char *name, const QString &key, const QString &mark, int status,
                            const QByteArray &body, const QString &after,
                            const QStringList &posted = {}) {
            QTest::newRow(name) << key << mark << status << body << after << posted;
        };

        const QString d0 = u"2026-03-02T14:15:00.000Z"_s, d1 = u"2026-03-03T14:15:00.000Z"_s;
        const char *day1 = "2026-03-03T14:15:00.000Z";
        const QString decided = u" | Mireo decided | "_s;
        row("first decision ever only sets the mark", decisionKey, QString(), 200,
            swing(day1, R"({"symbol":"AAPL"})"), d1);
        row("new decision with symbols, in the server's order", decisionKey, d0, 200,
            swing(day1, R"({"symbol":"MSFT"},{"symbol":"AAPL"})"), d1,
            {u"decision-"_s + d1 + decided + u"Today's signals: MSFT, AAPL"_s});
        row("new decision without symbols", decisionKey, d0, 200, swing(day1), d1,
            {u"decision-"_s + d1 + decided + u"No trade today. Discipline is part of the edge."_s});
        row("an older decision is new too", decisionKey, d1, 200,
            swing("2026-03-02T14:15:00.000Z", R"({"symbol":"X"})"), d0,
            {u"decision-"_s + d0 + decided + u"Today's signals: X"_s});
        row("no decision yet leaves the mark", decisionKey, d0, 200, R"({"signals":[]})", d0);
        row("failed request leaves the mark", decisionKey, d0, 500, swing(day1), d0);

        const QByteArray day =
            trades(R"({"symbol":"D","side":"buy","filled_at":"2026-03-02T16:00:00Z","fill_price":4},
            {"symbol":"A","side":"buy","filled_at":"2026-03-02T14:00:00Z","fill_price":1},
            {"symbol":"C","side":"sell","filled_at":"2026-03-02T15:30:00Z","fill_price":3},
            {"symbol":"B","side":"buy","filled_at":"2026-03-02T15:00:00Z","fill_price":2})");
        const QString t15 = u"2026-03-02T15:00:00Z"_s, t16 = u"2026-03-02T16:00:00Z"_s;
        const QString b = u"fill-2026-03-02T15:00:00Z-B | Order filled | BUY B @ $2.00"_s;
        const QString c = u"fill-2026-03-02T15:30:00Z-C | Order filled | SELL C @ $3.00"_s;
        const QString d = u"fill-2026-03-02T16:00:00Z-D | Order filled | BUY D @ $4.00"_s;
        row("only fills after the mark, oldest first", fillKey, t15, 200, day, t16, {c, d});
        // "15:00:00Z" sorts after "15:00:00.5Z" although it is the earlier instant.
        row("text order, not time order", fillKey, u"2026-03-02T15:00:00.5Z"_s, 200, day, t16,
            {b, c, d});
        row("trades without a fill time are not fills, whatever the status", fillKey, t15, 200,
            trades(R"({"symbol":"N","status":"filled","filled_at":null},
                {"symbol":"M","filled_at":"2026-03-02T15:10:00Z"},{"symbol":"O","status":"new"})"),
            u"2026-03-02T15:10:00Z"_s, {u"fill-2026-03-02T15:10:00Z-M | Order filled | TRADE M"_s});
        row("side upper-cased, price with two decimals", fillKey, t15, 200,
            trades(
                R"({"symbol":"BRK","side":"Sell","filled_at":"2026-03-02T15:02:00Z","fill_price":7},
                {"symbol":"R","filled_at":"2026-03-02T15:05:00Z","fill_price":-2})"),
            u"2026-03-02T15:05:00Z"_s,
            {u"fill-2026-03-02T15:02:00Z-BRK | Order filled | SELL BRK @ $7.00"_s,
             u"fill-2026-03-02T15:05:00Z-R | Order filled | TRADE R @ $-2.00"_s});
        row("equal times keep the server's order; same symbol shares the identifier", fillKey, t15,
            200, trades(R"({"symbol":"Z","side":"buy","filled_at":"2026-03-02T15:20:00Z"},
                {"symbol":"A","side":"buy","filled_at":"2026-03-02T15:20:00Z","fill_price":1},
                {"symbol":"Z","side":"buy","filled_at":"2026-03-02T15:20:00Z","fill_price":2})"),
            u"2026-03-02T15:20:00Z"_s,
            {u"fill-2026-03-02T15:20:00Z-Z | Order filled | BUY Z"_s,
             u"fill-2026-03-02T15:20:00Z-A | Order filled | BUY A @ $1.00"_s,
             u"fill-2026-03-02T15:20:00Z-Z | Order filled | BUY Z @ $2.00"_s});
        row("failed trades request leaves the mark", fillKey, t15, 503, day, t15);
    }
    void marks()
    {
        QFETCH(QString, key);
        QFETCH(QString, mark);
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, markAfter);
        QFETCH(QStringList, posted);
        Rig rig;
        QVERIFY(rig.start());
        if (!mark.isNull())
            rig.marks->setString(key, mark);
        if (key == decisionKey)
            rig.check(status, body, 404, {});
        else
            rig.check(404, {}, status, body);
        QCOMPARE(lines(rig.notifier.delivered), posted);
        QCOMPARE(rig.marks->string(key).value_or(QString()), markAfter);
    }

    void killSwitch_data()
    {
        QTest::addColumn<QVariant>("mark"); // invalid: never written
        // One check per character: the switch '1' on, '0' off, 'n' null; 'w' a portfolio
        // without a worker, '-' no portfolio.
        QTest::addColumn<QByteArray>("switches");
        QTest::addColumn<QVariant>("markAfter");
        QTest::addColumn<QStringList>("posted");
        const auto row = [](const char *name, QVariant mark, const char *switches, QVariant after,
                            const QStringList &posted) {
            QTest::newRow(name) << mark << QByteArray(switches) << after << posted;
        };
        const QString on = u"killswitch-on | Kill switch activated | Mireo stopped executing on "
                           u"your account. Check the app."_s;
        const QString off = u"killswitch-off | Kill switch cleared | Automatic execution is "
                            u"available again."_s;
        row("first sighting on is announced", {}, "1", true, {on});
        row("first sighting off is silent", {}, "0", false, {});
        row("null switch counts as off", true, "n", false, {off});
        row("no worker leaves the mark", true, "w", true, {});
    }
    void killSwitch()
    {
        QFETCH(QVariant, mark);
        QFETCH(QByteArray, switches);
        QFETCH(QVariant, markAfter);
        QFETCH(QStringList, posted);
        Rig rig;
        QVERIFY(rig.start());
        if (mark.isValid())
            rig.marks->setBoolean(killSwitchKey, mark.toBool());
        for (const char state : switches) {
            const QByteArray value = state == '1' ? "true" : state == '0' ? "false" : "null";
            if (state != '-')
                rig.holdPortfolio(state == 'w' ? QByteArray()
                                               : R"("worker":{"killSwitch":)" + value + "}");
            rig.check(404, {}, 404, {});
        }
        QCOMPARE(lines(rig.notifier.delivered), posted);
        const auto stored = rig.marks->boolean(killSwitchKey);
        QCOMPARE(stored ? QVariant(*stored) : QVariant(), markAfter);
    }

    // In order; failed trades leave the kill switch checked; two at once announce once; without
    // permission or session nothing is asked.
    void checks_data()
    {
        QTest::addColumn<int>("tradesStatus");
        QTest::addColumn<int>("checks");
        QTest::addColumn<QVariant>("permission"); // invalid: not answered yet
        QTest::addColumn<bool>("signedIn");
        QTest::addColumn<QStringList>("posted");
        const QString decision = u"decision-2026-03-03T14:15:00.000Z"_s;
        const QString fill = u"fill-2026-03-03T15:00:00Z-F"_s, kill = u"killswitch-on"_s;
        QTest::newRow("trades fail")
            << 500 << 1 << QVariant(true) << true << QStringList{decision, kill};
        QTest::newRow("trades announce a fill")
            << 200 << 1 << QVariant(true) << true << QStringList{decision, fill, kill};
        QTest::newRow("two checks at once")
            << 200 << 2 << QVariant(true) << true << QStringList{decision, fill, kill};
        QTest::newRow("before the permission answer")
            << 200 << 1 << QVariant() << true << QStringList();
        QTest::newRow("permission refused") << 200 << 1 << QVariant(false) << true << QStringList();
        QTest::newRow("signed out") << 200 << 1 << QVariant(true) << false << QStringList();
    }
    void checks()
    {
        QFETCH(int, tradesStatus);
        QFETCH(int, checks);
        QFETCH(QVariant, permission);
        QFETCH(bool, signedIn);
        QFETCH(QStringList, posted);
        Rig rig;
        if (signedIn)
            QVERIFY(rig.signIn());
        else
            rig.startAndRestore();
        rig.notifications.requestPermission();
        if (permission.isValid())
            rig.notifier.answer(permission.toBool());
        rig.marks->setString(decisionKey, u"2026-03-02T14:15:00.000Z"_s);
        rig.marks->setString(fillKey, u"2026-03-02T15:00:00Z"_s);
        rig.holdPortfolio(R"("worker":{"killSwitch":true})");
        rig.standin.answer(swingPath, 200, swing("2026-03-03T14:15:00.000Z"), checks);
        rig.standin.answer(tradesPath, tradesStatus,
                           trades(R"({"symbol":"F","filled_at":"2026-03-03T15:00:00Z"})"), checks);
        std::vector<QCoro::Task<>> running;
        for (int i = 0; i < checks; ++i)
            running.push_back(rig.notifications.check(*rig.store));
        for (QCoro::Task<> &check : running)
            QCoro::waitFor(check);

        QCOMPARE(lines(rig.notifier.delivered, true), posted);
        const auto &requests = rig.standin.server.requests();
        QCOMPARE(requests.size(), posted.isEmpty() ? 0 : 2 * checks);
        if (posted.isEmpty()) {
            QCOMPARE(rig.marks->string(decisionKey), u"2026-03-02T14:15:00.000Z"_s);
            QCOMPARE(rig.marks->boolean(killSwitchKey), std::nullopt);
        } else {
            QCOMPARE(requests.first().path, swingPath);
        }
    }
};

MIREO_TEST_MAIN_WITH_PRIVATE_CONFIG(TestNotificationStore)
#include "tst_notificationstore.moc"
