#include "hardening/PulseBinary.h"
#include "support/StandinFixture.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

// The real binary, run as a status bar or a script would run it: --follow with --json.
class TestHeadless : public QObject
{
    Q_OBJECT

    testing::PulseBinary m_binary;

    // The lines printed until the public side of one says the refresh is over: `key` is a
    // string there and it is not refreshing.
    QList<QJsonObject> followUntilSettled(const QUrl &site, const QString &key)
    {
        QProcess process;
        m_binary.start(process, site, {"--follow", "--json"});
        QByteArray out;
        QList<QJsonObject> lines;
        const auto settled = [&] {
            out += process.readAllStandardOutput();
            for (qsizetype end = out.indexOf('\n'); end >= 0; end = out.indexOf('\n')) {
                lines << QJsonDocument::fromJson(out.left(end)).object();
                out.remove(0, end + 1);
            }
            const QJsonObject pub = lines.value(lines.size() - 1)[u"public"].toObject();
            return pub[key].isString() && !pub[u"refreshing"].toBool(true);
        };
        [&] { QVERIFY(QTest::qWaitFor(settled, 20000)); }();
        process.terminate();
        (void)QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 5000);
        return lines;
    }

    // The titles in order, each once.
    static QStringList titles(const QList<QJsonObject> &lines)
    {
        QStringList titles;
        for (const QJsonObject &line : lines)
            if (titles.isEmpty() || titles.last() != line[u"title"].toString())
                titles << line[u"title"].toString();
        return titles;
    }

private Q_SLOTS:
    // Several fields change with one refresh: each line differs from the one before, the title
    // changed once, and the service's times are in UTC. What the numbers decode to is the
    // decoders' test. An offline restart shows the cached title at once and keeps it.
    void aLineAtOnceThenOnePerChange()
    {
        testing::StandinFixture standin;
        standin.answer(u"/api/public/track-record"_s, 200,
                       R"({"has_data":true,"consolidated":{"return_pct":-3.21},
                       "last_update":"2025-03-07T09:30:05.123-05:00"})");
        const QList<QJsonObject> lines = followUntilSettled(standin.url(), "fetchedAt");
        QVERIFY(lines.size() >= 2);
        for (qsizetype i = 1; i < lines.size(); ++i)
            QVERIFY2(lines[i] != lines[i - 1], "a line repeats the one before");
        QCOMPARE(titles(lines), (QStringList{"M·", "M -3.2%"}));
        const QJsonObject pulse = lines.last()[u"public"].toObject();
        QCOMPARE(pulse[u"lastUpdate"].toString(), u"2025-03-07T14:30:05.123Z"_s);
        static const QRegularExpression utcMillis(
            u"^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z$"_s);
        QVERIFY(utcMillis.match(pulse[u"fetchedAt"].toString()).hasMatch());

        const QList<QJsonObject> offline = followUntilSettled(testing::refusingUrl(), "lastError");
        QCOMPARE(titles(offline), QStringList{"M -3.2%"});
    }
};

QTEST_GUILESS_MAIN(TestHeadless)
#include "tst_headless.moc"
