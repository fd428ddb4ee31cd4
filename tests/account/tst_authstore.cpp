#include "support/AccountRig.h"

#include <QCoroTask>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
const QString tokenPath = u"/auth/v1/token"_s;
const QString portfolioPath = u"/api/mobile/portfolio"_s;
const QString swingPath = u"/api/mobile/signals/swing"_s;
const QString positionsPath = u"/api/mobile/positions"_s;
const QString autoExecutionPath = u"/api/mobile/auto-execution"_s;
const QString refreshKey = QString::fromLatin1(AuthStore::refreshTokenKey);
const QByteArray anonKey = MireoConfig::supabaseAnonKey();

const QByteArray portfolioBody = R"({"plan":"pro","accounts":[{"label":"Main","positions":2}],
    "totals":{"equity":10500,"todayPnl":-12.5,"baseline":10000},
    "worker":{"autoExecuteEnabled":true,"killSwitch":false}})";
const QByteArray otherPortfolioBody = R"({"accounts":[],"worker":{"autoExecuteEnabled":false}})";
const QByteArray positionsBody = R"({"accounts":[{"positions":[{"symbol":"A","marketValue":1},
    {"symbol":"B","marketValue":7}]}]})";
} // namespace

class TestAuthStore : public QObject
{
    Q_OBJECT

    struct Rig : testing::AccountRig
    {
        // Signs in through a callback with good account answers, and waits for the load.
        void signIn(const QString &fragment = u"access_token=A&refresh_token=R"_s)
        {
            if (!store)
                startAndRestore();
            standin.answer(portfolioPath, 200, portfolioBody);
            standin.answer(
                swingPath, 200,
                R"({"decidedAt":"2025-03-07T15:15:00.000Z","signals":[{"symbol":"NVDA"}]})");
            standin.answer(positionsPath, 200, positionsBody);
            QSignalSpy loaded(store.get(), &AuthStore::positionsChanged);
            store->beginSignIn();
            store->handleCallback(QUrl(u"mireopulse://auth#"_s + fragment));
            if (!loaded.wait(5000))
                qFatal("the account did not load");
            standin.server.clearRequests();
        }
    };

private Q_SLOTS:
    void init() { Defaults::shared().setString(u"app.language"_s, u"en"_s); }

    // Signed out, polls leave the network and the keychain alone: one look at launch, none after.
    void signedOutSendsNothingUntilSignIn()
    {
        Rig rig;
        AuthStore &store = rig.startAndRestore();
        const int reads = rig.secrets.reads;
        for (int poll = 0; poll < 3; ++poll)
            QCoro::waitFor(store.loadPortfolio());
        QCOMPARE(rig.secrets.reads, reads);
        QCOMPARE(rig.secrets.holdsAsked, 0);
        QCoro::waitFor(store.refreshIfNeeded());
        QVERIFY(!QCoro::waitFor(store.bearerGET(u"api/mobile/portfolio"_s)));
        QCoro::waitFor(store.loadPortfolio());
        QVERIFY(!QCoro::waitFor(store.setAutoExecution(true)));
        QVERIFY(!store.lastError());
        // A link nobody asked for changes nothing.
        store.handleCallback(QUrl(u"mireopulse://auth#access_token=A&refresh_token=R"_s));
        QVERIFY(!store.isSignedIn() && rig.secrets.items.isEmpty() && !store.lastError());
        store.beginSignIn();
        QVERIFY(store.signingIn());
        QCOMPARE(rig.browser.opened.size(), 1);
        QCOMPARE(rig.browser.opened[0].toString(QUrl::FullyEncoded),
                 rig.standin.url().toString() +
                     u"/auth/v1/authorize?provider=google&redirect_to=mireopulse://auth"_s);
        QVERIFY(rig.standin.server.requests().isEmpty());

        // A first load that fails says so.
        rig.standin.answer(portfolioPath, 200, R"({"plan":"x"})");
        store.handleCallback(QUrl(u"mireopulse://auth#access_token=A&refresh_token=R"_s));
        QTRY_COMPARE(store.lastError(), u"could not load your account"_s);
        QVERIFY(!store.portfolio());
        QCOMPARE(rig.standin.server.requests().size(), 1); // no decision or positions after it
    }

    void callback_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("storedToken"); // empty: not signed in
        QTest::addColumn<QString>("error");       // empty: none
        QTest::addColumn<QString>("language");
        const auto row = [](const char *name, const QString &url, const QString &token,
                            const QString &error = {}, const QString &language = u"en"_s) {
            QTest::newRow(name) << url << token << error << language;
        };
        const QString at = u"mireopulse://auth#"_s;
        row("all members", at + u"access_token=A&expires_in=3600&refresh_token=R&token_type=b"_s,
            u"R"_s);
        row("encoded = decoded", at + u"access_token=A&refresh_token=R%3Dq%2Fz"_s, u"R=q/z"_s);
        row("empty value ignored", at + u"access_token=&refresh_token=R"_s, {},
            u"sign-in failed"_s);
        row("tokens in the query", u"mireopulse://auth?access_token=A&refresh_token=R"_s, {},
            u"sign-in was cancelled"_s);
        row("not a URL", QString(), {}, u"sign-in was cancelled"_s);
        row("empty fragment, pt", at, {}, u"o in\u00EDcio de sess\u00E3o falhou"_s, u"pt"_s);
        row("only one token", at + u"access_token=A"_s, {}, u"sign-in failed"_s);
        row("error description decoded",
            at + u"error=access_denied&error_description=User%20said%20no%3D%26"_s, {},
            u"User said no=&"_s);
    }
    void callback()
    {
        QFETCH(QString, url);
        QFETCH(QString, storedToken);
        QFETCH(QString, error);
        QFETCH(QString, language);

        Rig rig;
        AuthStore &store = rig.startAndRestore();
        Defaults::shared().setString(u"app.language"_s, language);
        store.beginSignIn();
        store.handleCallback(QUrl(url));
        QVERIFY(!store.signingIn());
        QCOMPARE(store.isSignedIn(), !storedToken.isEmpty());
        QCOMPARE(rig.secrets.items.value(refreshKey), storedToken);
        QCOMPARE(store.lastError().value_or(QString()), error);
        if (store.isSignedIn()) {
            // The access token is in use at once, without a refresh first.
            QTRY_VERIFY(!rig.standin.requestsFor(portfolioPath).isEmpty());
            QCOMPARE(rig.standin.requestsFor(portfolioPath).first().header("Authorization"),
                     "Bearer A");
            QVERIFY(rig.standin.requestsFor(tokenPath).isEmpty());
        }
    }

    void refresh_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("storedToken");
        QTest::newRow("rotates the refresh token")
            << QByteArray(R"({"access_token":"A2","expires_in":3600,"refresh_token":"R2"})")
            << u"R2"_s;
        QTest::newRow("without a new refresh token keeps the old")
            << QByteArray(R"({"access_token":"A2"})") << u"R"_s;
    }
    void refresh()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, storedToken);
        Rig rig;
        rig.signIn();
        // Someone else's tokens, while signed in: the session stays ours.
        rig.store->handleCallback(QUrl(u"mireopulse://auth#access_token=X&refresh_token=Y"_s));
        rig.clock.set(rig.clock.now().addSecs(2 * 3600));
        rig.standin.answer(tokenPath, 200, body);
        // Another process renewing holds the keychain: this renewal waits before it reads.
        rig.secrets.heldElsewhere = true;
        const int holdsBefore = rig.secrets.holdsAsked;
        // Two at once spend the refresh token once: the second finds the first's work.
        QCoro::Task<> renewal = rig.store->refreshIfNeeded();
        QCoro::Task<> overlapping = rig.store->refreshIfNeeded();
        QTRY_VERIFY(rig.secrets.holdsAsked > holdsBefore ||
                    !rig.standin.requestsFor(tokenPath).isEmpty());
        QVERIFY2(rig.standin.requestsFor(tokenPath).isEmpty(),
                 "a grant went out under another's hold");
        rig.secrets.heldElsewhere = false;
        QCoro::waitFor(renewal);
        QCoro::waitFor(overlapping);

        const auto sent = rig.standin.requestsFor(tokenPath);
        QCOMPARE(sent.size(), 1);
        // Grant type and key: the stand-in refuses a renewal without them.
        QCOMPARE(sent[0].header("User-Agent"), "MireoDesktopNative/0.1");
        QVERIFY(sent[0].header("Authorization").isEmpty());
        QCOMPARE(QJsonDocument::fromJson(sent[0].body).object(),
                 QJsonObject({{u"refresh_token"_s, u"R"_s}}));
        QCOMPARE(rig.secrets.items.value(refreshKey), storedToken);
        QCoro::waitFor(rig.store->bearerGET(u"api/mobile/positions"_s));
        QCOMPARE(rig.standin.requestsFor(positionsPath).value(0).header("Authorization"),
                 "Bearer A2");
    }

    // A renewal answered after "Sign out" stores nothing, whichever process ran it.
    void signOutOutlivesARenewal_data()
    {
        QTest::addColumn<bool>("elsewhere");
        QTest::newRow("renewal in this process") << false;
        QTest::newRow("renewal in another process") << true;
    }
    void signOutOutlivesARenewal()
    {
        QFETCH(bool, elsewhere);
        Rig rig;
        rig.signIn();
        rig.clock.set(rig.clock.now().addSecs(2 * 3600));
        rig.standin.server.overrideNext(tokenPath,
                                        {.status = 200,
                                         .body = R"({"access_token":"A2","refresh_token":"R2"})",
                                         .delayMs = 300});
        // Another process's store renews as it starts.
        std::unique_ptr<AuthStore> other;
        if (elsewhere)
            other = std::make_unique<AuthStore>(
                rig.http, *rig.defaults, rig.clock, rig.secrets, rig.browser,
                AuthStore::Endpoints{rig.standin.url(), rig.standin.url(), anonKey});
        AuthStore &renewing = elsewhere ? *other : *rig.store;
        QSignalSpy renewed(&renewing, &AuthStore::renewalFinished);
        QCoro::Task<> renewal = elsewhere ? QCoro::Task<>() : renewing.refreshIfNeeded();
        QTRY_COMPARE(rig.standin.requestsFor(tokenPath).size(), 1);
        rig.store->signOut();
        QVERIFY(!rig.secrets.items.contains(refreshKey));
        QVERIFY(renewed.wait(5000));
        QVERIFY(!rig.secrets.items.contains(refreshKey));
        QVERIFY(!renewing.isSignedIn() && !rig.store->isSignedIn());

        other.reset();
        rig.store.reset();
        rig.defaults.reopen();
        AuthStore &restarted = rig.startAndRestore();
        QVERIFY(!restarted.isSignedIn() && !restarted.portfolio());
        QCOMPARE(rig.standin.requestsFor(tokenPath).size(), 1);
    }

    void expiryMargin_data()
    {
        QTest::addColumn<QString>("expiresIn"); // empty: not given
        QTest::addColumn<int>("secondsLater");
        QTest::addColumn<bool>("refreshes");
        QTest::newRow("default, just inside") << QString() << 3539 << false;
        QTest::newRow("default, past the margin") << QString() << 3541 << true;
        QTest::newRow("fractional, past") << u"90.5"_s << 31 << true;
    }
    void expiryMargin()
    {
        QFETCH(QString, expiresIn);
        QFETCH(int, secondsLater);
        QFETCH(bool, refreshes);
        Rig rig;
        rig.signIn(u"access_token=A&refresh_token=R"_s +
                   (expiresIn.isEmpty() ? QString() : u"&expires_in="_s + expiresIn));
        rig.clock.set(rig.clock.now().addSecs(secondsLater));
        rig.standin.answer(tokenPath, 500, {});
        QCoro::waitFor(rig.store->bearerGET(u"api/mobile/portfolio"_s));
        QCOMPARE(rig.standin.requestsFor(tokenPath).size(), refreshes ? 1 : 0);
    }

    void cacheRestore_data()
    {
        QTest::addColumn<bool>("tokenStored");
        QTest::addColumn<QByteArray>("cached"); // empty: no key
        QTest::addColumn<bool>("asOfStored");
        QTest::addColumn<bool>("shown");
        QTest::addColumn<bool>("keychainAnswers");
        QTest::newRow("cache without its date") << true << portfolioBody << false << true << true;
        QTest::newRow("signed out: not shown") << false << portfolioBody << true << false << true;
        QTest::newRow("undecodable cache")
            << true << QByteArray(R"({"plan":1})") << true << false << true;
        QTest::newRow("keychain that never answers: shown at once")
            << true << portfolioBody << true << true << false;
    }
    void cacheRestore()
    {
        QFETCH(bool, tokenStored);
        QFETCH(QByteArray, cached);
        QFETCH(bool, asOfStored);
        QFETCH(bool, shown);
        QFETCH(bool, keychainAnswers);

        Rig rig;
        rig.secrets.answering = keychainAnswers;
        const QDateTime asOf(QDate(2025, 3, 6), QTime(20, 0), Qt::UTC);
        if (tokenStored)
            rig.secrets.items.insert(refreshKey, u"R"_s);
        if (!cached.isEmpty())
            rig.defaults->setData(u"cache.portfolio.json"_s, cached);
        if (asOfStored)
            rig.defaults->setDate(u"cache.portfolio.asOf"_s, asOf);
        rig.standin.answer(tokenPath, 503, {}); // the launch refresh fails: offline
        AuthStore &store = rig.start();
        QSignalSpy restored(&store, &AuthStore::restoreFinished);
        QCoreApplication::processEvents(); // the launch reads the keychain

        // Shown before the network answers, without signing in.
        QCOMPARE(store.portfolio().has_value(), shown);
        QVERIFY(!store.isSignedIn());
        if (shown) {
            QCOMPARE(*store.portfolio(), *decodePortfolio(cached));
            QCOMPARE(store.portfolioAsOf(), asOfStored ? std::optional(asOf) : std::nullopt);
        }
        if (!keychainAnswers)
            return;
        QVERIFY(!restored.isEmpty() || restored.wait(5000));
        QCOMPARE(store.portfolio().has_value(), shown);
        QCOMPARE(store.lastError().has_value(), tokenStored);
    }

    void loadWritesTheExactBytesAndSignOutClearsThem()
    {
        Rig rig;
        rig.signIn();
        AuthStore &store = *rig.store;
        QCOMPARE(rig.defaults->data(u"cache.portfolio.json"_s), portfolioBody);
        QCOMPARE(rig.defaults->date(u"cache.portfolio.asOf"_s), rig.clock.now());
        QCOMPARE(store.portfolioAsOf(), rig.clock.now());
        QCOMPARE(store.todayDecision()->symbols, QStringList{u"NVDA"_s});
        QCOMPARE(store.positions().size(), 2);
        QCOMPARE(store.positions()[0].symbol, u"B"_s);

        // A day without a decision yet keeps yesterday's; failed loads keep the old values.
        rig.standin.answer(portfolioPath, 200, otherPortfolioBody);
        rig.standin.answer(swingPath, 200, R"({"signals":[]})");
        rig.standin.answer(positionsPath, 500, {});
        rig.clock.set(rig.clock.now().addSecs(60));
        QCoro::waitFor(store.loadPortfolio());
        QCOMPARE(store.portfolio()->accounts.size(), 0);
        QCOMPARE(store.portfolioAsOf(), rig.clock.now());
        QCOMPARE(store.todayDecision()->symbols, QStringList{u"NVDA"_s});
        QCOMPARE(store.positions().size(), 2);
        store.signOut();
        QVERIFY(!store.isSignedIn() && !store.portfolio() && !store.todayDecision());
    }

    void autoExecution_data()
    {
        QTest::addColumn<bool>("wanted");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("delayMs");
        QTest::addColumn<int>("reload"); // the portfolio's answer after an accepted change
        QTest::addColumn<QString>("error");
        QTest::newRow("resume accepted") << true << 200 << 0 << 200 << QString();
        QTest::newRow("accepted, reload fails: the old state stays")
            << false << 200 << 0 << 503 << QString();
        QTest::newRow("pause answered 204")
            << false << 204 << 0 << 200 << u"could not pause auto-execution"_s;
        QTest::newRow("resume times out")
            << true << 200 << 2000 << 200 << u"could not resume auto-execution"_s;
    }
    void autoExecution()
    {
        QFETCH(bool, wanted);
        QFETCH(int, status);
        QFETCH(int, delayMs);
        QFETCH(int, reload);
        QFETCH(QString, error);

        Rig rig;
        rig.signIn();
        rig.standin.server.overrideNext(autoExecutionPath, {.status = status, .delayMs = delayMs});
        rig.standin.answer(portfolioPath, reload, otherPortfolioBody);

        const bool accepted = error.isEmpty();
        QCOMPARE(QCoro::waitFor(rig.store->setAutoExecution(wanted)), accepted);
        QCOMPARE(rig.store->lastError().value_or(QString()), error);
        QVERIFY(rig.store->isSignedIn());
        const auto patch = rig.standin.requestsFor(autoExecutionPath);
        QCOMPARE(patch.size(), 1);
        QCOMPARE(patch[0].header("Authorization"), "Bearer A");
        QCOMPARE(QJsonDocument::fromJson(patch[0].body).object(),
                 QJsonObject({{u"enabled"_s, wanted}}));
        // Only the reloaded portfolio shows the new state.
        QCOMPARE(rig.store->portfolio()->worker->autoExecuteEnabled, !accepted || reload != 200);
        QCOMPARE(rig.standin.requestsFor(portfolioPath).size(), accepted ? 1 : 0);
    }
};

MIREO_TEST_MAIN_WITH_PRIVATE_CONFIG(TestAuthStore)
#include "tst_authstore.moc"
