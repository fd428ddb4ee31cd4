#include "account/AuthStore.h"
#include "net/HttpClient.h"
#include "pulse/PulseStore.h"
#include "settings/AppSettings.h"
#include "support/AccountFakes.h"
#include "support/StandinFixture.h"
#include "support/TestSupport.h"
#include "ui/LoginItem.h"
#include "ui/MenuInputs.h"
#include "ui/PulseMenuView.h"
#include "ui/Widgets.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

namespace {

class FakeLoginItem final : public LoginItem
{
public:
    bool accepts = true;
    Status state = Status::NotRegistered;
    Status status() const override { return state; }
    bool registerItem() override
    {
        if (accepts)
            state = Status::Enabled;
        return accepts;
    }
    bool unregisterItem() override
    {
        state = Status::NotRegistered;
        return true;
    }
};

const QByteArray autoOnPortfolio =
    R"({"plan":"pro","accounts":[{"label":"Paper","environment":"paper","equity":12500,)"
    R"("todayPnl":120,"positions":3}],"totals":{"equity":12500,"todayPnl":120,"baseline":10000},)"
    R"("worker":{"status":"running","autoExecuteEnabled":true,"killSwitch":false,)"
    R"("tradingMode":"paper"}})";

QStringList texts(const QWidget &root)
{
    QStringList out;
    for (const QLabel *label : root.findChildren<QLabel *>())
        out << label->text();
    for (const QAbstractButton *button : root.findChildren<QAbstractButton *>())
        out << button->text();
    for (const QComboBox *box : root.findChildren<QComboBox *>())
        for (int i = 0; i < box->count(); ++i)
            out << box->itemText(i);
    return out;
}

// The stores as the app builds them: the public book from the stand-in, an account restored
// from its cache (the sign-in backend refuses, so it stays the cached one).
struct Stores
{
    testing::StandinFixture standin;
    testing::TempDefaults defaults;
    testing::ManualClock clock;
    testing::InMemorySecretStore secrets;
    testing::RecordingBrowser browser;
    FakeLoginItem loginItem;
    net::HttpClient http{"mireo-test"};
    std::unique_ptr<PulseStore> pulse;
    std::unique_ptr<AuthStore> auth;
    AppSettings settings{Defaults::shared()};

    explicit Stores(bool withAccount = true)
    {
        http.setTimeoutLimit(testing::shortTimeout);
        settings.setLanguage(QStringLiteral("en"));
        if (withAccount) {
            secrets.items.insert(QString::fromLatin1(AuthStore::refreshTokenKey), "refresh");
            defaults->setData("cache.portfolio.json", autoOnPortfolio);
            defaults->setDate("cache.portfolio.asOf", clock.now().addSecs(-42));
        }
        pulse = std::make_unique<PulseStore>(http, *defaults, clock, standin.url());
        auth = std::make_unique<AuthStore>(
            http, *defaults, clock, secrets, browser,
            AuthStore::Endpoints{standin.url(), testing::refusingUrl(), "anon"});
        QCoreApplication::processEvents(); // the launch reads the keychain, shows the cache
    }

    // The launch refresh has landed and its render is done: only the test's own changes follow.
    bool settle()
    {
        const bool settled = QTest::qWaitFor([this] { return !pulse->refreshing(); }, 5000);
        QTest::qWait(50);
        return settled;
    }

    std::unique_ptr<ui::PulseMenuView> view(std::function<void()> onCheckUpdates = {})
    {
        auto view = std::make_unique<ui::PulseMenuView>(
            ui::PulseMenuView::Services{*pulse, *auth, settings, loginItem, browser, clock,
                                        standin.url()},
            std::move(onCheckUpdates));
        view->setFormatLocale({QStringLiteral("en_US"), "UTC"});
        return view;
    }
};

template <typename T> T *named(const QWidget &root, const char *name)
{
    return root.findChild<T *>(QString::fromLatin1(name));
}

} // namespace

class TestPulseMenuView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void followsStoresAndLanguage()
    {
        Stores stores;
        const auto view = stores.view();
        QVERIFY(texts(*view).contains("Loading the public book…"));
        QVERIFY(texts(*view).contains("YOUR ACCOUNT"));

        // The first public refresh lands: the public section re-renders by itself.
        QTRY_VERIFY(texts(*view).filter(" ideas open").size() == 1);
        QVERIFY(!texts(*view).contains("Loading the public book…"));

        // A confirmation is open when the language changes: it follows, with the rest.
        QTest::mouseClick(named<QPushButton>(*view, "pause"), Qt::LeftButton);
        QTRY_VERIFY(named<QMessageBox>(*view, "pauseConfirmation"));
        QMessageBox *dialog = named<QMessageBox>(*view, "pauseConfirmation");
        QCOMPARE(dialog->text(), QStringLiteral("Pause auto-execution?"));

        stores.settings.setLanguage(QStringLiteral("pt"));
        QTRY_COMPARE(dialog->text(), QStringLiteral("Pausar a auto-execução?"));
        QCOMPARE(named<QPushButton>(*dialog, "cancel")->text(), QStringLiteral("Cancelar"));
        const QStringList portuguese = texts(*view);
        QVERIFY(portuguese.contains(QStringLiteral("A TUA CONTA")));
        QVERIFY(portuguese.filter(" ideias abertas").size() == 1);
        QVERIFY(portuguese.filter(" ideas open").isEmpty());

        // Dismissing changes nothing.
        QTest::mouseClick(named<QPushButton>(*dialog, "cancel"), Qt::LeftButton);
        QTRY_VERIFY(!named<QMessageBox>(*view, "pauseConfirmation"));
        QVERIFY(named<QPushButton>(*view, "pause")->isEnabled());
    }

    void confirmedChangeDisablesTheButtonWhileInFlight()
    {
        Stores stores;
        const auto view = stores.view();
        QTest::mouseClick(named<QPushButton>(*view, "pause"), Qt::LeftButton);
        QTRY_VERIFY(named<QMessageBox>(*view, "pauseConfirmation"));
        QTest::mouseClick(
            named<QPushButton>(*named<QMessageBox>(*view, "pauseConfirmation"), "confirm"),
            Qt::LeftButton);
        QTRY_VERIFY(!named<QPushButton>(*view, "pause")->isEnabled());
        // The backend refuses at once; the button comes back whatever the outcome.
        QTRY_VERIFY(named<QPushButton>(*view, "pause")->isEnabled());
    }

    void changesInOneTurnRenderOnce()
    {
        Stores stores(false);
        const auto view = stores.view();
        // The launch refreshes must be over, or their answers render in between.
        QVERIFY(stores.settle());
        QTRY_VERIFY(texts(*view).filter(" ideas open").size() == 1);
        QTest::qWait(20);
        QSignalSpy rendered(view.get(), &ui::PulseMenuView::rendered);
        stores.settings.setMenuMetric(QStringLiteral("pct"));
        stores.settings.setLanguage(QStringLiteral("pt"));
        stores.settings.setMenuMetric(QStringLiteral("pnl"));
        QVERIFY(rendered.isEmpty());
        QTRY_COMPARE(rendered.size(), 1);
        QTest::qWait(50);
        QCOMPARE(rendered.size(), 1);
    }

    void badgeTicksOnlyWhileVisible()
    {
        Stores stores;
        const auto view = stores.view();
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        QVERIFY(stores.settle());
        // Renders replace the badge; always ask for the current one.
        const auto badge = [&view] {
            auto *current = named<ui::FreshnessBadgeView>(*view, "freshnessBadge");
            return current ? current->freshness().text : QString();
        };
        QCOMPARE(badge(), QStringLiteral("live · 42s"));
        stores.clock.set(stores.clock.now().addSecs(5));
        QTRY_COMPARE_WITH_TIMEOUT(badge(), QStringLiteral("live · 47s"), 2500);
        // Past 90 seconds the badge turns into the older form by itself.
        stores.clock.set(stores.clock.now().addSecs(60));
        QTRY_COMPARE_WITH_TIMEOUT(badge(), QStringLiteral("as of 2 minutes ago"), 2500);

        view->hide();
        stores.clock.set(stores.clock.now().addSecs(600));
        QTest::qWait(1300);
        QCOMPARE(badge(), QStringLiteral("as of 2 minutes ago"));
    }

    void startAtLogin_data()
    {
        QTest::addColumn<bool>("accepts");
        QTest::addColumn<bool>("checked");
        QTest::newRow("registered") << true << true;
        QTest::newRow("refused: still off") << false << false;
    }
    void startAtLogin()
    {
        QFETCH(bool, accepts);
        QFETCH(bool, checked);
        Stores stores(false);
        stores.loginItem.accepts = accepts;
        const auto view = stores.view();
        QVERIFY(!named<QCheckBox>(*view, "startAtLogin")->isChecked());
        named<QCheckBox>(*view, "startAtLogin")->click();
        QSignalSpy rendered(view.get(), &ui::PulseMenuView::rendered);
        QVERIFY(rendered.wait());
        QCOMPARE(named<QCheckBox>(*view, "startAtLogin")->isChecked(), checked);
        QCOMPARE(stores.loginItem.state == LoginItem::Status::Enabled, checked);
    }

    void mirrorsItsServicesAtCreation()
    {
        Stores stores(false);
        stores.loginItem.state = LoginItem::Status::Enabled;
        const auto view = stores.view();
        QVERIFY(named<QCheckBox>(*view, "startAtLogin")->isChecked());
        QVERIFY(!named<QPushButton>(*view, "updates")); // no update checker
    }

    void commandsReachTheirTargets()
    {
        Stores stores(false);
        int updateChecks = 0;
        const auto view = stores.view([&updateChecks] { ++updateChecks; });
        named<QPushButton>(*view, "openMireo")->click();
        QCOMPARE(stores.browser.opened.value(0).path(), QStringLiteral("/home"));
        QCOMPARE(stores.browser.opened.value(0).host(), stores.standin.url().host());
        named<QPushButton>(*view, "updates")->click();
        QCOMPARE(updateChecks, 1);
        named<QPushButton>(*view, "signIn")->click();
        QTRY_VERIFY(!named<QPushButton>(*view, "signIn")->isEnabled());
        QCOMPARE(named<QPushButton>(*view, "signIn")->text(),
                 QStringLiteral("Waiting for browser…"));
    }
};

// Widgets need a QApplication; the language lives in this process's own config folder.
int main(int argc, char *argv[])
{
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    QApplication app(argc, argv);
    TestPulseMenuView test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_pulsemenuview.moc"
