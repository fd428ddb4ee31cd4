#include "app/MenuTitle.h"
#include "app/PanelState.h"
#include "app/WaybarLine.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using namespace Qt::StringLiterals;

// The panel title for every metric, with the public title as the fallback.
class TestMenuTitle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void title_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("expected");

        // A null title: the public one.
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
        row("unknown metric", "equity", true, 10500.0, 1.0, 10000.0, nullptr);
        row("pct", "pct", true, 10500.0, {}, 10000.0, "M +5.00%");
        row("pct baseline 0", "pct", true, 10500.0, {}, 0.0, nullptr);
        row("pct signed out", "pct", false, {}, {}, {}, nullptr);
        row("pct no equity", "pct", true, {}, {}, 10000.0, nullptr);
        row("pct baseline negative", "pct", true, 10500.0, {}, -5.0, nullptr);
        row("pnl loss", "pnl", true, {}, -125.4, {}, "M -$125");
        row("pnl small loss", "pnl", true, {}, -0.3, {}, "M -$0");
        row("pnl half rounds to even", "pnl", true, {}, 2.5, {}, "M +$2");
        row("pnl no grouping", "pnl", true, {}, 1234567.0, {}, "M +$1234567");
        row("pnl missing", "pnl", true, 1.0, {}, 1.0, nullptr);
        row("pnlTotal", "pnlTotal", true, 12340.0, {}, 10000.0, "M +$2340");
        row("pnlTotal baseline 0", "pnlTotal", true, 9000.0, {}, 0.0, nullptr);
    }
    void title()
    {
        QFETCH(QString, title);
        QFETCH(QString, expected);
        QCOMPARE(title, expected);
    }

    void portfolioWithoutTotalsFallsBack()
    {
        QCOMPARE(menuTitleFor(u"pnl"_s, Portfolio{}, u"M\u00B7"_s), u"M\u00B7"_s);
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

    // One line of valid JSON whatever the title holds; waybar reads text as Pango markup.
    void waybarLine_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("text");
        QTest::newRow("title") << u"M -$125"_s << u"M -$125"_s;
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
        QJsonParseError error;
        const QJsonObject parsed = QJsonDocument::fromJson(line, &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
        QCOMPARE(parsed.value(u"text"_s).toString(), text);
        QVERIFY(parsed.value(u"tooltip"_s).toString().startsWith(text));
        QVERIFY(parsed.value(u"class"_s).isArray());
        QCOMPARE(parsed.value(u"alt"_s).toString(), u"pnlTotal"_s);
    }
};

QTEST_GUILESS_MAIN(TestMenuTitle)
#include "tst_menutitle.moc"
