#include "pulse/PulseStore.h"
#include "settings/AppSettings.h"
#include "support/AccountRig.h"
#include "ui/ConfirmationSheet.h"
#include "ui/LoginItem.h"
#include "ui/PulseMenuModel.h"
#include "ui/PulseMenuSections.h"
#include "ui/PulseMenuView.h"
#include "ui/RenderPng.h"
#include "ui/SparklineView.h"
#include "ui/Widgets.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

using ui::PulseMenuInput;
using ui::Tone;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(ui::PulseMenuInput)

namespace {

// Friday 09:30 in New York: the day's cycle at 10:15 is 45 minutes away.
const QDateTime now(QDate(2025, 3, 7), QTime(14, 30), Qt::UTC);

ui::PulseMenuInput signedOut()
{
    ui::PulseMenuInput in;
    in.now = now;
    in.locale = {u"en_US"_s, "UTC"};
    in.returnPct = 12.345;
    in.vsSpyPct = 3.1;
    in.openPositions = 7;
    in.sparkline = {10, 11, 10.6, 11.8, 12.3};
    in.lastUpdate = now.addSecs(-2 * 3600);
    in.fetchedAt = now.addSecs(-300);
    return in;
}

QList<Position> positions(int count)
{
    static const char *const symbols[] = {"NVDA", "AAPL", "MSFT", "AMZN", "GOOGL",
                                          "META", "TSLA", "AVGO", "COST", "NFLX"};
    QList<Position> list;
    for (int i = 0; i < count; ++i)
        list.append({QString::fromLatin1(symbols[i % 10]), 25000.0 - 1500 * i, 10.0 * (i - 2),
                     1.5 * (i - 2)});
    return list;
}

ui::PulseMenuInput withAccount(int positionCount = 3)
{
    ui::PulseMenuInput in = signedOut();
    in.isSignedIn = true;
    Portfolio portfolio;
    portfolio.accounts = {Account{u"Paper"_s, u"paper"_s, 12000.0, 120.0, qint64(positionCount)}};
    portfolio.totals = Totals{12500.0, 120.0, 10000.0};
    portfolio.worker = Worker{u"running"_s, true, false, u"paper"_s};
    in.portfolio = portfolio;
    in.portfolioAsOf = now.addSecs(-42);
    in.positions = positions(positionCount);
    return in;
}

template <typename Change> ui::PulseMenuInput with(ui::PulseMenuInput in, Change change)
{
    change(in);
    return in;
}

// What one thing of the model shows, as a line of text; tones in brackets.
struct Text
{
    static QString of(const QString &text) { return text; }
    static QString of(Tone tone)
    {
        static const char *const names[] = {"primary", "secondary", "gain",
                                            "loss",    "warning",   "gold"};
        return QString::fromLatin1(names[int(tone)]);
    }
    static QString of(const ui::Line &l) { return l.text + " (" + of(l.tone) + ')'; }
    static QString of(const ui::SymbolLine &l) { return of(l.line); }
    static QString of(const ui::Freshness &f)
    {
        return f.text + (f.live ? u" (live)"_s : QString());
    }
    static QString of(const ui::Button &b)
    {
        return b.label + (b.enabled ? u" [enabled]"_s : u" [disabled]"_s);
    }
    static QString of(const ui::Picker &p)
    {
        QStringList labels;
        for (const ui::Choice &choice : p.choices)
            labels << choice.label + u'=' + choice.value;
        return labels.join(u'|') + " @" + QString::number(p.selected);
    }
};

// "what: text" when the model has it, nothing otherwise.
template <typename T> QStringList line(const char *what, const std::optional<T> &value)
{
    return value ? QStringList{QString::fromLatin1(what) + ": " + Text::of(*value)} : QStringList();
}

// The model flattened to one line per visible thing, for the rows to name what (never) shows.
QStringList describe(const ui::PulseMenuModel &m)
{
    QStringList out;
    const ui::PersonalSection &p = m.personal;
    const ui::AccountBlock &a = p.account;
    const bool account = p.state == ui::PersonalState::Account;
    if (p.state == ui::PersonalState::SignedOut)
        out << "state: signed out"
            << "prompt: " + p.prompt << "sign in: " + Text::of(p.signIn);
    else if (p.state == ui::PersonalState::Loading)
        out << "state: loading"
            << "loading: " + p.loading;
    else
        out << "state: account"
            << "title: " + a.title << "pill: " + Text::of(a.pill) << line("badge", a.badge)
            << line("auto button", a.autoButton) << line("no brokerage", a.noBrokerage)
            << line("closing", a.closingLine);
    if (account && !a.noBrokerage) {
        out << "equity: " + a.equity << "positions: " + Text::of(a.positionCount)
            << "position rows: " + QString::number(a.positions.size())
            << line("equity change", a.equityChange) << line("today", a.today)
            << line("more", a.morePositions);
        for (const ui::PositionRow &row : a.positions)
            out << "row: " + row.symbol + u' ' + (row.change ? Text::of(*row.change) : u"-"_s) +
                       u' ' + row.marketValue;
    }
    if (account && a.decision)
        out << "decision: " + a.decision->line.text;
    if (account && a.nextCycle)
        out << "next cycle: " + a.nextCycle->line.text;
    out << line("account error", p.error);

    const ui::PublicSection &b = m.publicBook;
    out << "public title: " + b.title;
    if (b.bigReturn)
        out << "return: " + Text::of(*b.bigReturn) << "ideas: " + Text::of(b.ideasOpen)
            << line("vs", b.versusBenchmark) << line("updated", b.lastUpdate)
            << line("public error", b.errorLine);
    else
        out << "placeholder: " + b.placeholder;
    if (b.bigReturn && b.sparkline)
        out << "sparkline: " + QString::number(b.sparkline->size()) + " values (" +
                   Text::of(b.sparklineTone) + u')';

    const ui::Footer &f = m.footer;
    out << "refresh: " + Text::of(f.refresh)
        << "login: " + f.startAtLogin + (f.launchAtLogin ? u" [on]"_s : u" [off]"_s)
        << "language: " + Text::of(f.language) << line("sign out", f.signOut)
        << line("updates", f.updates);
    if (f.showMetric)
        out << "metric: " + f.metricLabel + u' ' + Text::of(f.metric);
    for (const ui::Confirmation *c : {&m.pause, &m.enable})
        if (c->open)
            out << "dialog: " + c->title + " / " + c->confirm + " / " + c->cancel + " / " +
                       c->message.value_or(u"-"_s);
    return out;
}

QString artifact(const QString &name)
{
    const QString dir = QStringLiteral(QT_TESTCASE_BUILDDIR "/artifacts");
    QDir().mkpath(dir);
    return dir + u'/' + name + u".png"_s;
}

QString describeWidget(const QWidget *widget)
{
    return QString::fromLatin1(widget->metaObject()->className()) + u' ' + widget->objectName();
}

// What a widget needs to show all of itself.
QSize needed(const QWidget *widget)
{
    if (const auto *label = qobject_cast<const QLabel *>(widget); label && label->wordWrap())
        return {0, label->heightForWidth(label->width())};
    if (const auto *label = qobject_cast<const QLabel *>(widget))
        return label->sizeHint();
    if (qobject_cast<const QAbstractButton *>(widget))
        return widget->minimumSizeHint();
    return widget->minimumSizeHint().expandedTo(QSize(0, 0));
}

// Every visible leaf lies inside `area`, has the room it needs, and touches no other leaf.
QStringList layoutProblems(QWidget &root, const QRect &area)
{
    QList<QWidget *> leaves;
    for (QWidget *widget : root.findChildren<QWidget *>()) {
        if (widget->isWindow() || !widget->isVisibleTo(&root))
            continue;
        const QList<QWidget *> children =
            widget->findChildren<QWidget *>(Qt::FindDirectChildrenOnly);
        if (std::none_of(children.cbegin(), children.cend(),
                         [&root](QWidget *c) { return !c->isWindow() && c->isVisibleTo(&root); }))
            leaves.append(widget);
    }
    QStringList problems;
    QList<QRect> placed;
    for (QWidget *leaf : leaves) {
        // What it draws in: margins that keep it to the column do not count.
        const QRect drawn = leaf->contentsRect();
        QRect rect(leaf->mapTo(&root, drawn.topLeft()), drawn.size());
        // The chart's frame keeps to the column; only its ink may spill past it.
        if (qobject_cast<ui::SparklineView *>(leaf))
            rect = rect.marginsRemoved(
                QMargins(ui::SparklineView::inkMargin, ui::SparklineView::inkMargin,
                         ui::SparklineView::inkMargin, ui::SparklineView::inkMargin));
        if (!area.contains(rect))
            problems << describeWidget(leaf) + u" leaves the column"_s;
        const QSize need = needed(leaf);
        if (leaf->width() < need.width() || leaf->height() < need.height())
            problems << describeWidget(leaf) + u" is clipped"_s;
        placed.append(rect);
    }
    for (qsizetype i = 0; i < leaves.size(); ++i)
        for (qsizetype j = i + 1; j < leaves.size(); ++j)
            if (placed[i].intersects(placed[j]))
                problems << describeWidget(leaves[i]) + u" overlaps "_s + describeWidget(leaves[j]);
    return problems;
}

// The popover's column for `input`, drawn into an artifact: what does not fit, or lingers.
QStringList layoutProblemsOf(const PulseMenuInput &input, const QString &name)
{
    QWidget host;
    auto *box = new QVBoxLayout(&host);
    // As the view does: the built column reaches into the side padding by its spill.
    box->setContentsMargins(ui::menuPadding - ui::menuSpill, ui::menuPadding,
                            ui::menuPadding - ui::menuSpill, ui::menuPadding);
    box->setSizeConstraint(QLayout::SetFixedSize);
    auto *column = new ui::PulseMenuColumn;
    // Other states first, as a live popover shows them: nothing of theirs may linger.
    const PulseMenuInput busy = with(withAccount(8), [&input](auto &in) {
        in.isPT = !input.isPT;
        in.accountError = in.pulseError = "offline";
    });
    for (const PulseMenuInput &shown : {signedOut(), busy, input})
        column->apply(ui::pulseMenuModel(shown));
    box->addWidget(column);
    if (!ui::renderWidgetToPng(host, artifact(u"popover-"_s + name)))
        return {u"no picture"_s};
    ui::PulseMenuColumn fresh;
    fresh.apply(ui::pulseMenuModel(input));
    if (ui::renderWidget(*column) != ui::renderWidget(fresh))
        return {u"something of the state before lingers"_s};
    if (host.width() != ui::menuContentWidth + 2 * ui::menuPadding)
        return {u"width %1"_s.arg(host.width())};
    const int p = ui::menuPadding;
    return layoutProblems(host, host.rect().marginsRemoved(QMargins(p, p, p, p)));
}

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
        standin.answer(u"/auth/v1/token"_s, 503, {}, 5); // offline: the cache stays
        pulse = std::make_unique<PulseStore>(http, *defaults, clock, standin.url());
        start();
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

// What each popover state shows and leaves out, that it fits in both languages, and the live view.
class TestPulseMenuModel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void rules_data()
    {
        QTest::addColumn<PulseMenuInput>("input");
        QTest::addColumn<QStringList>("shows"); // "!text": no line holds it

        QTest::newRow("signed out") << signedOut()
                                    << QStringList{"state: signed out",
                                                   "prompt: See your own account here.",
                                                   "sign in: Sign in [enabled]",
                                                   "!sign out:",
                                                   "!metric:",
                                                   "public title: PUBLIC BOOK",
                                                   "return: +12.35% (gain)",
                                                   "vs: +3.10% vs S&P 500",
                                                   "ideas: 7 ideas open (secondary)",
                                                   "updated: 2 hours ago (secondary)",
                                                   "sparkline: 5 values (gain)"};
        QTest::newRow("signing in, refreshing, account error")
            << with(signedOut(),
                    [](auto &in) {
                        in.signingIn = true;
                        in.refreshing = true;
                        in.accountError = "offline — try again";
                    })
            << QStringList{"sign in: Waiting for browser… [disabled]",
                           "refresh: Refreshing… [disabled]",
                           "account error: offline — try again (warning)"};
        QTest::newRow("signed in, loading")
            << with(signedOut(), [](auto &in) { in.isSignedIn = true; })
            << QStringList{"state: loading", "loading: Loading your account…", "sign out: Sign out",
                           "metric: Menu bar: Public book %=book|My return "
                           "%=pct|My P/L today=pnl|My P/L since start=pnlTotal @0"};
        QTest::newRow("cached portfolio while signed out")
            << with(withAccount(), [](auto &in) { in.isSignedIn = false; })
            << QStringList{"state: account", "equity: $12,500",
                           "!prompt:", "!sign out:", "!metric:"};
        QTest::newRow("no brokerage account")
            << with(withAccount(), [](auto &in) { in.portfolio->accounts.clear(); })
            << QStringList{"no brokerage: No brokerage account connected yet.",
                           "pill: AUTO ON (gain)", "!equity:", "!positions:", "!row:"};
        QTest::newRow("zero positions")
            << withAccount(0)
            << QStringList{"position rows: 0", "positions: 0 positions (secondary)", "!more:"};
        QTest::newRow("eight positions")
            << withAccount(8)
            << QStringList{"position rows: 5", "row: NVDA -3.00% (loss) $25,000",
                           "row: GOOGL +3.00% (gain) $19,000", "more: +3 more in the app",
                           "!row: META"};
        QTest::newRow("position percent as received, missing percent, no totals")
            << with(withAccount(2),
                    [](auto &in) {
                        in.positions[0].unrealizedPlpc = -0.5;
                        in.positions[1].unrealizedPlpc.reset();
                        in.positions[1].marketValue.reset();
                        in.portfolio->totals.reset();
                    })
            << QStringList{"row: NVDA -0.50% (loss) $25,000", "row: AAPL - —", "equity: —",
                           "!equity change:", "!today:"};
        QTest::newRow("kill switch hides both buttons")
            << with(withAccount(), [](auto &in) { in.portfolio->worker->killSwitch = true; })
            << QStringList{"pill: KILL SWITCH (loss)", "!auto button:"};
        QTest::newRow("auto on") << withAccount()
                                 << QStringList{"pill: AUTO ON (gain)",
                                                "auto button: Pause [enabled]",
                                                "next cycle: Next cycle in 45 minutes · paper",
                                                "equity change: +25.00% (gain)",
                                                "today: +$120 today (gain)",
                                                "closing: as of 2:29\u202fPM",
                                                "badge: live · 42s (live)"};
        QTest::newRow("no worker record is an observer")
            << with(withAccount(), [](auto &in) { in.portfolio->worker.reset(); })
            << QStringList{"pill: OBSERVER (secondary)", "auto button: Enable [enabled]",
                           "!next cycle:"};
        QTest::newRow("decision without symbols, zero baseline, loss today")
            << with(withAccount(),
                    [](auto &in) {
                        in.todayDecision = TodayDecision{"2025-03-07", {}};
                        in.portfolio->totals->baseline = 0.0;
                        in.portfolio->totals->todayPnl = -37.0;
                    })
            << QStringList{"decision: Today: no trade — that's discipline",
                           "today: -$37 today (loss)", "!equity change:"};
        QTest::newRow("no benchmark, no update time, sparkline under 3 values")
            << with(signedOut(),
                    [](auto &in) {
                        in.vsSpyPct.reset();
                        in.lastUpdate.reset();
                        in.sparkline = {1, 2};
                    })
            << QStringList{"return: +12.35% (gain)", "ideas: 7 ideas open (secondary)",
                           "!vs:", "!updated:", "!sparkline:"};
        QTest::newRow("public error with last fetch, a loss colours the chart")
            << with(signedOut(),
                    [](auto &in) {
                        in.returnPct = -1.0;
                        in.pulseError = "offline — showing last known numbers";
                    })
            << QStringList{"public error: offline — showing last known numbers · as of "
                           "2:25\u202fPM",
                           "return: -1.00% (loss)", "sparkline: 5 values (loss)"};
        QTest::newRow("no return, error only")
            << with(signedOut(),
                    [](auto &in) {
                        in.returnPct.reset();
                        in.pulseError = "offline — showing last known numbers";
                    })
            << QStringList{"placeholder: offline — showing last known numbers",
                           "!return:", "!sparkline:", "!public error:"};
        QTest::newRow("footer choices, unknown metric selects nothing")
            << with(withAccount(),
                    [](auto &in) {
                        in.canCheckUpdates = true;
                        in.launchAtLogin = true;
                        in.language = "pt";
                        in.menuMetric = "weird";
                    })
            << QStringList{"updates: Updates", "login: Start at login [on]",
                           "language: System=system|EN=en|PT=pt @2",
                           "metric: Menu bar: Public book %=book|My return %=pct|My P/L "
                           "today=pnl|My P/L since start=pnlTotal @-1"};
        QTest::newRow("confirmations")
            << with(withAccount(),
                    [](auto &in) {
                        in.confirmingPause = true;
                        in.confirmingEnable = true;
                    })
            << QStringList{"dialog: Pause auto-execution? / Pause — Mireo stops placing orders "
                           "/ Cancel / Your open positions stay untouched. You can resume "
                           "anytime.",
                           "dialog: Enable auto-execution? / Enable — Mireo trades this account "
                           "(paper) / Cancel / -"};
        QTest::newRow("long numbers and decision")
            << with(withAccount(8),
                    [](auto &in) {
                        in.portfolio->totals = Totals{1234567.0, -1204.0, 1300000.0};
                        in.todayDecision =
                            TodayDecision{"d", {"NVDA", "AAPL", "MSFT", "AMZN", "GOOGL"}};
                    })
            << QStringList{"today: -$1,204 today (loss)",
                           "decision: Today: NVDA, AAPL, MSFT, AMZN, GOOGL"};
        QTest::newRow("Portuguese account")
            << with(withAccount(6),
                    [](auto &in) {
                        in.isPT = true;
                        in.locale = {u"pt_PT"_s, "UTC"};
                        in.portfolioAsOf = now.addSecs(-300);
                    })
            // Plurals, word order and the prefix before a worded age differ from English.
            << QStringList{"badge: há há 5 minutos",
                           "today: +$120 hoje (gain)",
                           "positions: 6 posições (secondary)",
                           "more: +1 mais na app",
                           "next cycle: Próximo ciclo dentro de 45 minutos · paper",
                           "closing: às 14:25",
                           "ideas: 7 ideias abertas (secondary)"};
    }
    void rules()
    {
        QFETCH(PulseMenuInput, input);
        QFETCH(QStringList, shows);
        const QStringList lines = describe(ui::pulseMenuModel(input));
        for (const QString &expected : shows)
            QVERIFY2(expected.startsWith(u'!') ? lines.filter(expected.mid(1)).isEmpty()
                                               : lines.contains(expected),
                     qPrintable(expected + "\n  " + lines.join("\n  ")));

        if (input.confirmingPause || input.confirmingEnable)
            return; // the question covers the column on purpose
        const QString name = QString::fromLatin1(QTest::currentDataTag()).replace(u' ', u'-');
        QStringList problems = layoutProblemsOf(input, name);
        if (!input.isPT) {
            input.isPT = true;
            input.language = u"pt"_s;
            input.locale = {u"pt_PT"_s, "UTC"};
            problems << layoutProblemsOf(input, name + u"-pt"_s);
        }
        QVERIFY2(problems.isEmpty(), qPrintable(problems.join(u'\n')));
    }

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

MIREO_TEST_MAIN_WITH_PRIVATE_CONFIG_APP(TestPulseMenuModel, QApplication)
#include "tst_pulsemenumodel.moc"
