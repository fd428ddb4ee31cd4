#include "support/StandinFixture.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

// `mireo-pulse --follow` as a status bar runs it: a line at once, then one per change.
class TestFollow : public QObject
{
    Q_OBJECT

    QTemporaryDir m_config;

    // Runs the binary until `enough` holds for its output lines (or 20 s pass), then lets it
    // run `settle` longer to catch repeats, and stops it.
    QList<QByteArray> follow(const QUrl &site, const QStringList &flags,
                             const std::function<bool(const QList<QByteArray> &)> &enough,
                             int settleMs = 700)
    {
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("MIREO_SITE_URL"), site.toString());
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_config.path());
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(MIREO_PULSE_BINARY), QStringList{"--follow"} + flags);
        QByteArray out;
        const auto lines = [&] {
            out += process.readAllStandardOutput();
            QList<QByteArray> all = out.split('\n');
            all.removeLast(); // the unfinished rest
            return all;
        };
        (void)QTest::qWaitFor([&] { return enough(lines()); }, 20000);
        QTest::qWait(settleMs);
        const QList<QByteArray> result = lines();
        [&] { QCOMPARE(process.state(), QProcess::Running); }();
        process.terminate();
        (void)QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 5000);
        return result;
    }

    static bool hasLive(const QList<QByteArray> &lines)
    {
        return !lines.isEmpty() && lines.last().startsWith("M ") && lines.last() != "M·";
    }

private Q_SLOTS:
    void titleAtOnceThenOnEachChange()
    {
        QFile::remove(m_config.filePath(QStringLiteral("mireo/pulse.conf")));
        testing::StandinFixture standin;
        standin.answer(QStringLiteral("/api/public/track-record"), 200,
                       R"({"has_data":true,"consolidated":{"return_pct":12.34}})");
        const QList<QByteArray> lines = follow(standin.url(), {}, hasLive);
        // Several fields change with one refresh; the title changed once.
        QCOMPARE(lines, (QList<QByteArray>{"M·", "M +12.3%"}));

        // Offline restart: the cached title at once, and a failed refresh changes nothing.
        const QList<QByteArray> offline = follow(
            testing::refusingUrl(), {}, [](const auto &lines) { return !lines.isEmpty(); }, 1500);
        QCOMPARE(offline, (QList<QByteArray>{"M +12.3%"}));
    }

    void jsonLinesUntilTheRefreshSettles()
    {
        QFile::remove(m_config.filePath(QStringLiteral("mireo/pulse.conf")));
        testing::StandinFixture standin;
        const auto settled = [](const QList<QByteArray> &lines) {
            if (lines.isEmpty())
                return false;
            const QJsonObject last = QJsonDocument::fromJson(lines.last()).object();
            return last[u"public"].toObject()[u"fetchedAt"].isString() &&
                   !last[u"public"].toObject()[u"refreshing"].toBool();
        };
        const QList<QByteArray> lines = follow(standin.url(), {"--json"}, settled);
        QVERIFY(lines.size() >= 2);
        QCOMPARE(QJsonDocument::fromJson(lines.first()).object()[u"title"].toString(),
                 QStringLiteral("M·"));
        for (qsizetype i = 0; i < lines.size(); ++i) {
            QVERIFY2(QJsonDocument::fromJson(lines[i]).isObject(), lines[i].constData());
            if (i > 0)
                QVERIFY2(lines[i] != lines[i - 1], "a line repeats the one before");
        }
        QVERIFY(QJsonDocument::fromJson(lines.last()).object()[u"title"].toString() !=
                QStringLiteral("M·"));
    }
};

QTEST_GUILESS_MAIN(TestFollow)
#include "tst_follow.moc"
