#include "app/MenuTitle.h"
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
        QTest::addColumn<QString>("metric");
        QTest::addColumn<bool>("signedIn");
        QTest::addColumn<std::optional<double>>("equity");
        QTest::addColumn<std::optional<double>>("todayPnl");
        QTest::addColumn<std::optional<double>>("baseline");
        QTest::addColumn<QString>("title");

        const std::optional<double> none;
        const QString pub = u"M +12.3%"_s;
        QTest::newRow("book") << u"book"_s << true << std::optional(10500.0) << std::optional(1.0)
                              << std::optional(10000.0) << pub;
        QTest::newRow("unknown metric") << u"equity"_s << true << std::optional(10500.0)
                                        << std::optional(1.0) << std::optional(10000.0) << pub;
        QTest::newRow("pct") << u"pct"_s << true << std::optional(10500.0) << none
                             << std::optional(10000.0) << u"M +5.00%"_s;
        QTest::newRow("pct baseline 0")
            << u"pct"_s << true << std::optional(10500.0) << none << std::optional(0.0) << pub;
        QTest::newRow("pct signed out") << u"pct"_s << false << none << none << none << pub;
        QTest::newRow("pct no equity")
            << u"pct"_s << true << none << none << std::optional(10000.0) << pub;
        QTest::newRow("pct baseline negative")
            << u"pct"_s << true << std::optional(10500.0) << none << std::optional(-5.0) << pub;
        QTest::newRow("pnl loss") << u"pnl"_s << true << none << std::optional(-125.4) << none
                                  << u"M -$125"_s;
        QTest::newRow("pnl small loss")
            << u"pnl"_s << true << none << std::optional(-0.3) << none << u"M -$0"_s;
        QTest::newRow("pnl half rounds to even")
            << u"pnl"_s << true << none << std::optional(2.5) << none << u"M +$2"_s;
        QTest::newRow("pnl no grouping")
            << u"pnl"_s << true << none << std::optional(1234567.0) << none << u"M +$1234567"_s;
        QTest::newRow("pnl missing")
            << u"pnl"_s << true << std::optional(1.0) << none << std::optional(1.0) << pub;
        QTest::newRow("pnlTotal") << u"pnlTotal"_s << true << std::optional(12340.0) << none
                                  << std::optional(10000.0) << u"M +$2340"_s;
        QTest::newRow("pnlTotal baseline 0")
            << u"pnlTotal"_s << true << std::optional(9000.0) << none << std::optional(0.0) << pub;
    }
    void title()
    {
        QFETCH(QString, metric);
        QFETCH(bool, signedIn);
        QFETCH(std::optional<double>, equity);
        QFETCH(std::optional<double>, todayPnl);
        QFETCH(std::optional<double>, baseline);
        QFETCH(QString, title);

        std::optional<Portfolio> portfolio;
        if (signedIn)
            portfolio = Portfolio{{}, {}, Totals{equity, todayPnl, baseline}, {}};
        QCOMPARE(menuTitleFor(metric, portfolio, u"M +12.3%"_s), title);
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
        QCOMPARE(::panelClasses(report), classes);
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
        const QByteArray line =
            ::waybarLine(report, QDateTime::currentDateTimeUtc(), false, {u"en_US"_s, "UTC"});
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
