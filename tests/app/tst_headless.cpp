#include "support/ProcessRun.h"
#include "support/StandinFixture.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

// The real binary, run as a status bar would run it.
class TestHeadless : public QObject
{
    Q_OBJECT

    QTemporaryDir m_config;

    using Run = testing::ProcessRun;

    Run run(const QUrl &site, const QString &flag)
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("MIREO_SITE_URL"), site.toString());
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_config.path());
        return testing::runToEnd(QStringLiteral(MIREO_PULSE_BINARY), {flag}, env);
    }

    QJsonObject status(const QUrl &site)
    {
        const Run result = run(site, QStringLiteral("--status-json"));
        [&] { QCOMPARE(result.exitCode, 0); }();
        return QJsonDocument::fromJson(result.out).object();
    }

private Q_SLOTS:
    void init() { QFile::remove(m_config.filePath(QStringLiteral("mireo/pulse.conf"))); }

    void printsTheLiveTitle()
    {
        testing::StandinFixture standin;
        const Run result = run(standin.url(), QStringLiteral("--print-title"));
        QCOMPARE(result.exitCode, 0);
        static const QRegularExpression title(QStringLiteral("^M [+-]\\d+\\.\\d%\n$"));
        QVERIFY2(title.match(QString::fromUtf8(result.out)).hasMatch(), result.out.constData());
        QVERIFY(result.err.isEmpty());
    }

    void statusJsonThenOfflineRestart()
    {
        testing::StandinFixture standin;
        standin.answer(QStringLiteral("/api/public/track-record"), 200,
                       R"({"has_data":true,"consolidated":{"return_pct":-3.21,
                       "return_vs_spy_pct":0.5},"accounts":[{"positions":4}],
                       "last_update":"2025-03-07T09:30:05.123-05:00"})");
        standin.answer(QStringLiteral("/api/public/stats"), 200, R"({"sparkline":[1,2,3.5]})");
        const QJsonObject online = status(standin.url());
        QCOMPARE(online[u"title"].toString(), QStringLiteral("M -3.2%"));
        const QJsonObject pulse = online[u"public"].toObject();
        QCOMPARE(pulse[u"returnPct"].toDouble(), -3.21);
        QCOMPARE(pulse[u"vsSpyPct"].toDouble(), 0.5);
        QCOMPARE(pulse[u"openPositions"].toInt(), 4);
        QCOMPARE(pulse[u"lastUpdate"].toString(), QStringLiteral("2025-03-07T14:30:05.123Z"));
        static const QRegularExpression utcMillis(
            QStringLiteral(R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$)"));
        QVERIFY(utcMillis.match(pulse[u"fetchedAt"].toString()).hasMatch());
        QVERIFY(pulse[u"lastError"].isNull());
        QCOMPARE(pulse[u"refreshing"].toBool(true), false);
        QCOMPARE(pulse[u"sparkline"].toVariant().toList(), (QVariantList{1, 2, 3.5}));

        // Next start with the service gone: the cached numbers, the line that says so, no series.
        const QJsonObject offline = status(testing::refusingUrl());
        QCOMPARE(offline[u"title"].toString(), QStringLiteral("M -3.2%"));
        const QJsonObject cached = offline[u"public"].toObject();
        QCOMPARE(cached[u"lastError"].toString(),
                 QStringLiteral("offline \u2014 showing last known numbers"));
        QCOMPARE(cached[u"fetchedAt"], pulse[u"fetchedAt"]);
        QCOMPARE(cached[u"lastUpdate"], pulse[u"lastUpdate"]);
        QCOMPARE(cached[u"sparkline"].toArray().size(), 0);
    }

    void firstRunOfflineHasNoNumber()
    {
        const Run result = run(testing::refusingUrl(), QStringLiteral("--print-title"));
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(result.out, QByteArray("M\u00B7\n"));
        const QJsonObject pulse = status(testing::refusingUrl())[u"public"].toObject();
        QCOMPARE(pulse[u"lastError"].toString(), QStringLiteral("offline"));
        QVERIFY(pulse[u"returnPct"].isNull());
        QVERIFY(pulse[u"fetchedAt"].isNull());
    }
};

QTEST_GUILESS_MAIN(TestHeadless)
#include "tst_headless.moc"
