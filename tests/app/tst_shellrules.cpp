#include "app/MenuTitle.h"
#include "app/PanelState.h"
#include "app/Probe.h"
#include "app/ShellRules.h"
#include "app/UrlRouting.h"
#include "app/WaybarLine.h"
#include "pulse/CycleSchedule.h"

#include <QJsonDocument>
#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

Q_DECLARE_METATYPE(UrlRoute)

namespace {
const QTimeZone newYork(QByteArrayLiteral("America/New_York"));
QDateTime ny(int y, int m, int d, int h, int min, int s = 0)
{
    return QDateTime(QDate(y, m, d), QTime(h, min, s), newYork);
}
} // namespace

class TestShellRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // A null title is the public one; rounding and grouping are the fixed decimals'.
    void title_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("expected");

        const auto row =
            [](const char *name, const char *metric, bool signedIn, std::optional<double> equity,
               std::optional<double> todayPnl, std::optional<double> baseline, const char *title) {
                std::optional<Portfolio> portfolio;
                if (signedIn)
                    portfolio = Portfolio{{}, {}, Totals{equity, todayPnl, baseline}, {}};
                QTest::newRow(name)
                    << menuTitleFor(QString::fromLatin1(metric), portfolio, u"M +12.3%"_s)
                    << QString::fromUtf8(title ? title : "M +12.3%");
            };
        row("book", "book", true, 10500.0, 1.0, 10000.0, nullptr);
        row("pct", "pct", true, 10500.0, {}, 10000.0, "M +5.00%");
        row("pct baseline 0", "pct", true, 10500.0, {}, 0.0, nullptr);
        row("pct signed out", "pct", false, {}, {}, {}, nullptr);
        row("pnl loss", "pnl", true, {}, -125.4, {}, "M -$125");
        row("pnl small loss", "pnl", true, {}, -0.3, {}, "M -$0");
        row("pnl missing", "pnl", true, 1.0, {}, 1.0, nullptr);
        row("pnlTotal", "pnlTotal", true, 12340.0, {}, 10000.0, "M +$2340");
    }
    void title()
    {
        QFETCH(QString, title);
        QFETCH(QString, expected);
        QCOMPARE(title, expected);
    }

    // Status reports cut to what the classes read; the public return 12.345 titles "M +12.3%".
    void panelClasses_data()
    {
        QTest::addColumn<QByteArray>("status");
        QTest::addColumn<QStringList>("classes");

        QTest::newRow("negative zero is a gain") << R"({"title":"M +-0.0%",
            "public":{"returnPct":-0.0}})"_ba << QStringList{u"gain"_s};
        QTest::newRow("loss") << R"({"title":"M -0.4%","public":{"returnPct":-0.4}})"_ba
                              << QStringList{u"loss"_s};
        QTest::newRow("nothing known") << R"({"title":"M·","public":{"returnPct":null,
            "lastError":"offline"}})"_ba
                                       << QStringList{};
        QTest::newRow("offline cache") << R"({"title":"M +12.3%","metric":"book",
            "public":{"returnPct":12.345,"lastError":"offline"}})"_ba
                                       << QStringList{u"gain"_s, u"stale"_s};
        QTest::newRow("metric needs the account") << R"({"title":"M +12.3%","metric":"pnl",
            "public":{"returnPct":12.345},"account":{"signedIn":false}})"_ba
                                                  << QStringList{u"gain"_s, u"signed-out"_s};
        QTest::newRow("account title, account offline") << R"({"title":"M -$125","metric":"pnl",
            "public":{"returnPct":12.345},"account":{"signedIn":true,"lastError":"offline"}})"_ba
                                                        << QStringList{u"loss"_s, u"stale"_s};
    }
    void panelClasses()
    {
        QFETCH(QByteArray, status);
        QFETCH(QStringList, classes);
        const QJsonObject report = QJsonDocument::fromJson(status).object();
        QVERIFY(!report.isEmpty());
        const pulse_bus::State state = panelState(report, false, {u"en_US"_s, "UTC"});
        QCOMPARE(::panelClasses(state), classes);
        // What the bus carries for the panels that read it without waybar's classes.
        QCOMPARE(state.tone, classes.value(0));
        QCOMPARE(state.stale, classes.contains(u"stale"_s));
    }

    // Waybar reads text as Pango markup.
    void waybarLine_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << QString() << u"M\u00B7"_s;
        QTest::newRow("markup and quotes")
            << u"M <b>\"&\"</b>"_s << u"M &lt;b&gt;&quot;&amp;&quot;&lt;/b&gt;"_s;
        QTest::newRow("controls") << u"M\n\t\\\u0001"_s << u"M\n\t\\\u0001"_s;
    }
    void waybarLine()
    {
        QFETCH(QString, title);
        QFETCH(QString, text);
        const QJsonObject report{{u"title"_s, title}, {u"metric"_s, u"pnlTotal"_s}};
        const QByteArray line = ::waybarLine(panelState(report, false, {u"en_US"_s, "UTC"}));
        QVERIFY(!line.contains('\n'));
        const QJsonObject parsed = QJsonDocument::fromJson(line).object();
        QCOMPARE(parsed.value(u"text"_s).toString(), text);
        QVERIFY(parsed.value(u"tooltip"_s).toString().startsWith(text));
        QCOMPARE(parsed.value(u"alt"_s).toString(), u"pnlTotal"_s);
    }

    // Every tick while the market is open; every fifth, counted from launch, while it is closed.
    void polling()
    {
        for (qint64 tick = 1; tick <= 12; ++tick) {
            QVERIFY(ShellRules::pollsAccount(tick, true));
            QCOMPARE(ShellRules::pollsAccount(tick, false), tick == 5 || tick == 10);
        }
    }

    // After two minutes, not while refreshing, and not for a fetch dated in the future.
    void refreshOnOpen()
    {
        const QDateTime now(QDate(2025, 3, 7), QTime(14, 30), Qt::UTC);
        QVERIFY(ShellRules::refreshesOnOpen(std::nullopt, false, now));
        QVERIFY(!ShellRules::refreshesOnOpen(now.addSecs(-120), false, now));
        QVERIFY(ShellRules::refreshesOnOpen(now.addSecs(-121), false, now));
        QVERIFY(!ShellRules::refreshesOnOpen(now.addSecs(-121), true, now));
        QVERIFY(!ShellRules::refreshesOnOpen(now.addSecs(600), false, now));
    }

    // Through XWayland on a Wayland session with X beside it, unless the user chose a platform.
    void xwaylandRoute()
    {
        char app[] = "mireo-pulse", option[] = "-platform", wayland[] = "wayland";
        char *plain[] = {app}, *chosen[] = {app, option, wayland};
        qputenv("WAYLAND_DISPLAY", "wayland-0");
        qputenv("DISPLAY", ":0");
        qunsetenv("QT_QPA_PLATFORM");
        QVERIFY(ShellRules::routesThroughXWayland(1, plain));
        QVERIFY(!ShellRules::routesThroughXWayland(3, chosen));
        qputenv("QT_QPA_PLATFORM", "wayland");
        QVERIFY(!ShellRules::routesThroughXWayland(1, plain));
        qunsetenv("QT_QPA_PLATFORM");
        qunsetenv("DISPLAY");
        QVERIFY(!ShellRules::routesThroughXWayland(1, plain));
    }

    void marketHours_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<bool>("open");

        // 2025-03-10 is a Monday (the day after the spring DST change).
        QTest::newRow("Monday 09:29:59") << ny(2025, 3, 10, 9, 29, 59) << false;
        QTest::newRow("Monday 09:30") << ny(2025, 3, 10, 9, 30) << true;
        QTest::newRow("Monday 15:59:59") << ny(2025, 3, 10, 15, 59, 59) << true;
        QTest::newRow("Monday 16:00") << ny(2025, 3, 10, 16, 0) << false;
        QTest::newRow("Saturday noon") << ny(2025, 3, 15, 12, 0) << false;
        QTest::newRow("holiday counts as open") << ny(2025, 12, 25, 10, 0) << true;
        // Friday 09:30 in New York is already Saturday 00:30 in Tokyo.
        QTest::newRow("New York weekday, not the local one")
            << ny(2025, 3, 14, 9, 30).toTimeZone(QTimeZone(QByteArrayLiteral("Asia/Tokyo")))
            << true;
        // 13:30 UTC is 09:30 in New York under daylight time but 08:30 in winter.
        QTest::newRow("instant given in UTC, winter")
            << QDateTime(QDate(2025, 1, 6), QTime(13, 30), Qt::UTC) << false;
    }
    void marketHours()
    {
        QFETCH(QDateTime, now);
        QFETCH(bool, open);
        QCOMPARE(CycleSchedule::usMarketOpen(now), open);
    }

    void nextCycle_data()
    {
        QTest::addColumn<QDateTime>("after");
        QTest::addColumn<QDateTime>("cycle");

        QTest::newRow("just before") << ny(2025, 3, 11, 10, 14, 59) << ny(2025, 3, 11, 10, 15);
        QTest::newRow("exactly at: strictly later")
            << ny(2025, 3, 11, 10, 15) << ny(2025, 3, 12, 10, 15);
        QTest::newRow("Friday after the cycle")
            << ny(2025, 3, 14, 11, 0) << ny(2025, 3, 17, 10, 15);
        QTest::newRow("across autumn DST") << ny(2025, 10, 31, 12, 0) << ny(2025, 11, 3, 10, 15);
        // 23:00 Sunday in Lisbon is still Sunday in New York; Monday's cycle comes next.
        QTest::newRow("day taken in New York")
            << QDateTime(QDate(2025, 3, 16), QTime(23, 0),
                         QTimeZone(QByteArrayLiteral("Europe/Lisbon")))
            << ny(2025, 3, 17, 10, 15);
    }
    void nextCycle()
    {
        QFETCH(QDateTime, after);
        QFETCH(QDateTime, cycle);
        QCOMPARE(CycleSchedule::nextTenantCycle(after).value_or(QDateTime()).toUTC(),
                 cycle.toUTC());
    }

    void routes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<UrlRoute>("route");
        QTest::newRow("pulse") << "mireopulse://pulse" << UrlRoute::ToggleQuickPanel;
        QTest::newRow("open with user and port")
            << "mireopulse://me@open:80" << UrlRoute::ToggleQuickPanel;
        // Host comparison is exact, although QUrl would lower-case these.
        QTest::newRow("OPEN") << "mireopulse://OPEN" << UrlRoute::AuthCallback;
        QTest::newRow("auth with tokens")
            << "mireopulse://auth#access_token=eyJ.a.b&refresh_token=r1" << UrlRoute::AuthCallback;
        QTest::newRow("not a URL: space") << "mireopulse://op en" << UrlRoute::Ignore;
    }
    void routes()
    {
        QFETCH(QString, text);
        QFETCH(UrlRoute, route);
        QCOMPARE(routeUrl(text), route);
    }

    void ownScheme()
    {
        for (const char *own :
             {"mireopulse://auth#access_token=a", "MIREOPULSE://open", "mireopulse:"})
            QVERIFY2(isCallbackUrl(QString::fromLatin1(own)), own);
        for (const char *other :
             {"https://example.com", "file:///etc/passwd", "mireopulse://a b", ""})
            QVERIFY2(!isCallbackUrl(QString::fromLatin1(other)), other);
    }

    // Shortest round-trip decimals, whole numbers with ".0", the sign of zero kept.
    void probeLine()
    {
        QCOMPARE(probe::line(true, QRectF(1183, 945, 62, 24)),
                 "probe visible=true frame=(1183.0, 945.0, 62.0, 24.0)\n");
        QCOMPARE(probe::line(true, QRectF(0.1 + 0.2, -0.0, 62.25, 1.0 / 3)),
                 "probe visible=true frame=(0.30000000000000004, -0.0, 62.25, "
                 "0.3333333333333333)\n");
    }

    // Only "1" exactly turns the probe on; on, it writes once.
    void probeEnabling()
    {
        for (const char *value :
             std::initializer_list<const char *>{"1", "true", " 1", "", nullptr}) {
            if (value)
                qputenv(probe::environmentVariable, value);
            else
                qunsetenv(probe::environmentVariable);
            QCOMPARE(probe::isEnabled(), value && qstrcmp(value, "1") == 0);
        }
        QObject owner; // gone with the test, and so is the probe
        QList<QByteArray> written;
        probe::schedule(&owner,
                        {[] { return true; }, [] { return QRectF(1, 2, 3, 4); },
                         [&](const QByteArray &text) { written.append(text); }},
                        0ms, true);
        QTRY_COMPARE(written, QList<QByteArray>{probe::line(true, QRectF(1, 2, 3, 4))});
    }
};

QTEST_GUILESS_MAIN(TestShellRules)
#include "tst_shellrules.moc"
