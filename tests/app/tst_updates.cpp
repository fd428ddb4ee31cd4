#include "app/Appcast.h"
#include "app/Updates.h"
#include "net/HttpClient.h"
#include "settings/Defaults.h"
#include "support/AccountRig.h"
#include "support/StandinFixture.h"
#include "support/TestSupport.h"

#include <QCoroTask>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
const QString appcastPath = "/appcast.xml";

QByteArray feed(const QByteArray &items)
{
    return R"(<?xml version="1.0" encoding="utf-8"?>
<rss version="2.0" xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle">
<channel><title>Mireo Pulse</title>)" +
           items + "</channel></rss>";
}

QByteArray item(const QByteArray &version, const QByteArray &shortVersion = {},
                const QByteArray &link = "https://example.com/download")
{
    QByteArray text = "<item><sparkle:version>" + version + "</sparkle:version>";
    if (!shortVersion.isEmpty())
        text += "<sparkle:shortVersionString>" + shortVersion + "</sparkle:shortVersionString>";
    text += "<link>" + link + "</link>";
    return text + R"(<enclosure url="https://example.com/pulse.tar.gz"/></item>)";
}

} // namespace

class TestUpdates : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { Defaults::shared().setString("app.language", "en"); }

    // Expected: "version|display version|page", empty when the feed holds no release.
    void parsing_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<QString>("expected");
        QTest::newRow("good feed")
            << feed(item("42", "1.2.0")) << "42|1.2.0|https://example.com/download";
        QTest::newRow("several items, newest not first")
            << feed(item("1.9") + item("1.10", {}, "https://example.com/1.10") + item("1.2"))
            << "1.10|1.10|https://example.com/1.10";
        QTest::newRow("version on the enclosure")
            << feed(
                   R"(<item><link>https://example.com/p</link><enclosure url="https://example.com/f"
                 sparkle:version="2.0" sparkle:shortVersionString="2.0 beta"/></item>)")
            << "2.0|2.0 beta|https://example.com/p";
        QTest::newRow("a link that is no web page") << feed(item("3.0", {}, "javascript:alert(1)"))
                                                    << "3.0|3.0|https://example.com/pulse.tar.gz";
        QTest::newRow("cut off") << feed(item("9.0")).left(200) << "";
    }
    void parsing()
    {
        QFETCH(QByteArray, xml);
        QFETCH(QString, expected);
        const std::optional<AppcastRelease> r = parseAppcast(xml);
        const QStringList got{r ? r->version : QString(), r ? r->displayVersion : QString(),
                              r ? r->page.value_or(QUrl()).toString() : QString()};
        QCOMPARE(r ? got.join(u'|') : QString(), expected);
    }

    void ordering_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<int>("order");
        for (const char *row :
             {"1.10 > 1.9", "1.0 = 1.0.0", "0.1.0 < 0.2", "2 < 10", "01.002 = 1.2",
              "99999999999999999999999 > 9999999999", "1.0b1 < 1.0", "1.0b2 > 1.0b1"}) {
            const QStringList parts = QString::fromLatin1(row).split(' ');
            QTest::newRow(row) << parts[0] << parts[2] << int(u"<=>"_s.indexOf(parts[1])) - 1;
        }
    }
    void ordering()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(int, order);
        QCOMPARE(compareVersions(a, b), order);
        QCOMPARE(compareVersions(b, a), -order);
    }

    // A check always tells; a failed one keeps what an earlier one found. Failures are one path.
    void checks()
    {
        testing::StandinFixture standin;
        net::HttpClient http{"MireoDesktopNative/0.1"};
        testing::RecordingBrowser browser;
        UpdateChecker checker{http, browser, standin.url().resolved(QUrl("appcast.xml")), "0.1.0"};
        QSignalSpy notices(&checker, &UpdateChecker::notice);
        QSignalSpy checking(&checker, &UpdateChecker::checkingChanged);
        const auto check = [&](const QByteArray &body) {
            standin.server.overrideNext(appcastPath, {.body = body});
            QCoro::waitFor(checker.checkNow());
            return notices.isEmpty() ? QString() : notices.last().at(0).value<UpdateNotice>().text;
        };
        QCOMPARE(check(feed(item("0.3.0"))), u"Version 0.3.0 is available."_s);
        QCOMPARE(check("not xml"), u"offline — could not check for updates"_s);
        QCOMPARE(checker.availableVersion(), std::optional<QString>("0.3.0"));
        QCOMPARE(check(feed(item("0.1.0"))), u"You have the latest version (0.1.0)."_s);
        QCOMPARE(checker.availableVersion(), std::nullopt);
        QVERIFY(!notices.last().at(0).value<UpdateNotice>().downloadPage);
        QCOMPARE(check(feed(item("0.2.0", "0.2"))), u"Version 0.2 is available."_s);
        QCOMPARE(checker.availableVersion(), std::optional<QString>("0.2"));
        QVERIFY(notices.last().at(0).value<UpdateNotice>().downloadPage);
        QCOMPARE(notices.size(), 4);
        QCOMPARE(checking.size(), 8);
        QVERIFY(!checker.checking());
    }
};

MIREO_TEST_MAIN_WITH_PRIVATE_CONFIG(TestUpdates)
#include "tst_updates.moc"
