#include "app/MenuTitle.h"

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
        QTest::newRow("pct negative") << u"pct"_s << true << std::optional(9876.5) << none
                                      << std::optional(10000.0) << u"M -1.23%"_s;
        QTest::newRow("pct signed out") << u"pct"_s << false << none << none << none << pub;
        QTest::newRow("pct baseline 0")
            << u"pct"_s << true << std::optional(10500.0) << none << std::optional(0.0) << pub;
        QTest::newRow("pct baseline negative")
            << u"pct"_s << true << std::optional(10500.0) << none << std::optional(-5.0) << pub;
        QTest::newRow("pct no equity")
            << u"pct"_s << true << none << none << std::optional(10000.0) << pub;
        QTest::newRow("pnl loss") << u"pnl"_s << true << none << std::optional(-125.4) << none
                                  << u"M -$125"_s;
        QTest::newRow("pnl small loss")
            << u"pnl"_s << true << none << std::optional(-0.3) << none << u"M -$0"_s;
        QTest::newRow("pnl zero") << u"pnl"_s << true << none << std::optional(0.0) << none
                                  << u"M +$0"_s;
        QTest::newRow("pnl half rounds to even")
            << u"pnl"_s << true << none << std::optional(2.5) << none << u"M +$2"_s;
        QTest::newRow("pnl no grouping")
            << u"pnl"_s << true << none << std::optional(1234567.0) << none << u"M +$1234567"_s;
        QTest::newRow("pnl missing")
            << u"pnl"_s << true << std::optional(1.0) << none << std::optional(1.0) << pub;
        QTest::newRow("pnlTotal") << u"pnlTotal"_s << true << std::optional(12340.0) << none
                                  << std::optional(10000.0) << u"M +$2340"_s;
        QTest::newRow("pnlTotal loss") << u"pnlTotal"_s << true << std::optional(9000.0) << none
                                       << std::optional(10000.0) << u"M -$1000"_s;
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
};

QTEST_GUILESS_MAIN(TestMenuTitle)
#include "tst_menutitle.moc"
