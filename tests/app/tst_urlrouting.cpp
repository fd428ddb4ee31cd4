#include "app/UrlRouting.h"

#include <QTest>

Q_DECLARE_METATYPE(UrlRoute)

class TestUrlRouting : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void routes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<UrlRoute>("route");

        const QString auth =
            "mireopulse://auth#access_token=eyJ.a.b&refresh_token=r1&expires_in=3600";
        QTest::newRow("open") << "mireopulse://open" << UrlRoute::ToggleQuickPanel;
        QTest::newRow("pulse") << "mireopulse://pulse" << UrlRoute::ToggleQuickPanel;
        QTest::newRow("open with user and port")
            << "mireopulse://me@open:80" << UrlRoute::ToggleQuickPanel;
        // Host comparison is exact, although QUrl would lower-case these.
        QTest::newRow("OPEN") << "mireopulse://OPEN" << UrlRoute::AuthCallback;
        QTest::newRow("auth with tokens") << auth << UrlRoute::AuthCallback;
        // The scheme is not this function's business; the edges filter it (isCallbackUrl).
        QTest::newRow("other scheme, open") << "https://open" << UrlRoute::ToggleQuickPanel;
        QTest::newRow("not a URL: space") << "mireopulse://op en" << UrlRoute::Ignore;
    }
    void routes()
    {
        QFETCH(QString, text);
        QFETCH(UrlRoute, route);
        QCOMPARE(routeUrl(text), route);

        int toggles = 0;
        QList<QUrl> callbacks;
        deliverUrl(text, {[&] { ++toggles; }, [&](const QUrl &url) { callbacks.append(url); }});
        QCOMPARE(toggles, route == UrlRoute::ToggleQuickPanel ? 1 : 0);
        QCOMPARE(callbacks.size(), route == UrlRoute::AuthCallback ? 1 : 0);
        if (!callbacks.isEmpty())
            QCOMPARE(callbacks.first().fragment(QUrl::FullyEncoded),
                     QUrl(text).fragment(QUrl::FullyEncoded));
    }

    // Only this app's scheme, in any case, is taken from a command line or the bus.
    void ownScheme()
    {
        for (const char *own :
             {"mireopulse://auth#access_token=a", "MIREOPULSE://open", "mireopulse:"})
            QVERIFY2(isCallbackUrl(QString::fromLatin1(own)), own);
        for (const char *other :
             {"https://example.com", "file:///etc/passwd", "mireopulse://a b", ""})
            QVERIFY2(!isCallbackUrl(QString::fromLatin1(other)), other);
    }
};

QTEST_GUILESS_MAIN(TestUrlRouting)
#include "tst_urlrouting.moc"
