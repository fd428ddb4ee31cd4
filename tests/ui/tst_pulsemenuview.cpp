#include "pulse/PulseStore.h"
#include "settings/AppSettings.h"
#include "support/AccountRig.h"
#include "ui/ConfirmationSheet.h"
#include "ui/LoginItem.h"
#include "ui/PulseMenuView.h"
#include "ui/Widgets.h"

#include <QApplication>
#include <QCheckBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

// A desktop's start at login, as it is now; it refuses to register.
class FakeLoginItem final : public LoginItem
{
public:
    Status status() const override { return Status::NotRegistered; }
    bool registerItem() override { return false; }
    bool unregisterItem() override { return true; }
};

const QByteArray autoOnPortfolio =
    R"({"plan":"pro","accounts":[{"label":"Paper","environment":"paper","equity":12500,)"
    R"("todayPnl":120,"positions":3}],"totals":{"equity":12500,"todayPnl":120,"baseline":10000},)"
    R"("worker":{"status":"running","autoExecuteEnabled":true,"killSwitch":false,)"
    R"("tradingMode":"paper"}})";

// The stores as the app builds them, the account restored from its cache.
struct Stores : testing::AccountRig
{
    FakeLoginItem loginItem;
    std::unique_ptr<PulseStore> pulse;
    AppSettings settings{Defaults::shared()};

    Stores()
    {
        settings.setLanguage(u"en"_s);
        secrets.items.insert(QString::fromLatin1(AuthStore::refreshTokenKey), "refresh");
        defaults->setData("cache.portfolio.json", autoOnPortfolio);
        defaults->setDate("cache.portfolio.asOf", clock.now().addSecs(-42));
        pulse = std::make_unique<PulseStore>(http, *defaults, clock, standin.url());
        store = std::make_unique<AuthStore>(
            http, *defaults, clock, secrets, browser,
            AuthStore::Endpoints{standin.url(), testing::refusingUrl(), "anon"});
        QCoreApplication::processEvents(); // the launch reads the keychain, shows the cache
    }

    // The launch refresh has landed and the view shows it: only the test's own changes follow.
    bool settle(const QWidget &view)
    {
        return QTest::qWaitFor(
            [&] {
                return !pulse->refreshing() &&
                       view.findChild<QWidget *>(u"sparkline"_s)->isVisibleTo(&view);
            },
            5000);
    }

    std::unique_ptr<ui::PulseMenuView> view()
    {
        auto view = std::make_unique<ui::PulseMenuView>(ui::PulseMenuView::Services{
            *pulse, *store, settings, loginItem, browser, clock, standin.url()});
        view->setFormatLocale({u"en_US"_s, "UTC"});
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
    // The badge ticks only while shown.
    void shownView()
    {
        Stores stores;
        const auto view = stores.view();
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        QVERIFY(stores.settle(*view));
        const auto *badge = named<ui::FreshnessBadgeView>(*view, "freshnessBadge");
        QCOMPARE(badge->freshness().text, u"live · 42s"_s);
        stores.clock.set(stores.clock.now().addSecs(5));
        QTRY_COMPARE_WITH_TIMEOUT(badge->freshness().text, u"live · 47s"_s, 2500);
        // Past 90 seconds the badge turns into the older form by itself.
        stores.clock.set(stores.clock.now().addSecs(60));
        QTRY_COMPARE_WITH_TIMEOUT(badge->freshness().text, u"as of 2 minutes ago"_s, 2500);

        view->hide();
        QVERIFY(!view->findChild<QTimer *>(u"badgeTick"_s)->isActive());

        // A refused start at login stays unticked; an answer after the window closed does nothing.
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        named<QCheckBox>(*view, "startAtLogin")->click();
        QSignalSpy rendered(view.get(), &ui::PulseMenuView::rendered);
        QVERIFY(rendered.wait());
        QVERIFY(!named<QCheckBox>(*view, "startAtLogin")->isChecked());

        named<QPushButton>(*view, "pause")->click();
        auto *sheet = named<ui::ConfirmationSheet>(*view, "confirmationSheet");
        QTRY_VERIFY(sheet->isVisible());
        view->hide();
        named<QPushButton>(*sheet, "confirm")->click();
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        QVERIFY(!sheet->isVisible());
        QVERIFY(named<QPushButton>(*view, "pause")->isEnabled());
        named<QPushButton>(*view, "openMireo")->click();
        QCOMPARE(stores.browser.opened.value(0), stores.standin.url().resolved(QUrl(u"/home"_s)));
    }
};

MIREO_TEST_MAIN_WITH_PRIVATE_CONFIG_APP(TestPulseMenuView, QApplication)
#include "tst_pulsemenuview.moc"
