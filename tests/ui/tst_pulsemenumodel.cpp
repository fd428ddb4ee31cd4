#include "ui/MenuInputs.h"
#include "ui/PulseMenuModel.h"

#include <QTest>

using ui::PulseMenuInput;
using ui::Tone;
using namespace testing;

Q_DECLARE_METATYPE(ui::PulseMenuInput)

namespace {

const QDateTime now = menuNow;

QString tone(Tone tone)
{
    static const char *const names[] = {"primary", "secondary", "gain", "loss", "warning", "gold"};
    return QString::fromLatin1(names[int(tone)]);
}

QString line(const ui::Line &l)
{
    return l.text + QStringLiteral(" (") + tone(l.tone) + u')';
}

QString button(const ui::Button &b)
{
    return b.label + (b.enabled ? QStringLiteral(" [enabled]") : QStringLiteral(" [disabled]"));
}

QString picker(const ui::Picker &p)
{
    QStringList labels;
    for (const ui::Choice &choice : p.choices)
        labels << choice.label + u'=' + choice.value;
    return labels.join(u'|') + QStringLiteral(" @") + QString::number(p.selected);
}

// The model flattened to one line per visible thing, so each row of the table can name what
// must and must not show.
QStringList describe(const ui::PulseMenuModel &m)
{
    QStringList out;
    const ui::PersonalSection &p = m.personal;
    switch (p.state) {
    case ui::PersonalState::SignedOut:
        out << "state: signed out" << QStringLiteral("prompt: ") + p.prompt
            << "sign in: " + button(p.signIn);
        break;
    case ui::PersonalState::Loading:
        out << "state: loading" << QStringLiteral("loading: ") + p.loading;
        break;
    case ui::PersonalState::Account: {
        const ui::AccountBlock &a = p.account;
        out << "state: account" << QStringLiteral("title: ") + a.title << "pill: " + line(a.pill);
        if (a.badge)
            out << "badge: " + a.badge->text +
                       (a.badge->live ? QStringLiteral(" (live)") : QString());
        if (a.autoButton)
            out << "auto button: " + button(*a.autoButton);
        if (a.noBrokerage) {
            out << "no brokerage: " + *a.noBrokerage;
        } else {
            out << "equity: " + a.equity << "positions: " + line(a.positionCount.line)
                << "position rows: " + QString::number(a.positions.size());
            if (a.equityChange)
                out << "equity change: " + line(*a.equityChange);
            if (a.today)
                out << "today: " + line(a.today->line);
            for (const ui::PositionRow &row : a.positions)
                out << "row: " + row.symbol + u' ' +
                           (row.change ? line(*row.change) : QStringLiteral("-")) + u' ' +
                           row.marketValue;
            if (a.morePositions)
                out << "more: " + *a.morePositions;
        }
        if (a.decision)
            out << "decision: " + a.decision->line.text;
        if (a.nextCycle)
            out << "next cycle: " + a.nextCycle->line.text;
        if (a.closingLine)
            out << "closing: " + *a.closingLine;
        break;
    }
    }
    if (p.error)
        out << "account error: " + line(*p.error);

    const ui::PublicSection &b = m.publicBook;
    out << "public title: " + b.title;
    if (b.bigReturn) {
        out << "return: " + line(*b.bigReturn) << "ideas: " + line(b.ideasOpen.line);
        if (b.versusBenchmark)
            out << "vs: " + *b.versusBenchmark;
        if (b.lastUpdate)
            out << "updated: " + line(b.lastUpdate->line);
        if (b.sparkline)
            out << "sparkline: " + QString::number(b.sparkline->size()) + " values (" +
                       tone(b.sparklineTone) + u')';
        if (b.errorLine)
            out << "public error: " + *b.errorLine;
    } else {
        out << "placeholder: " + b.placeholder;
    }

    const ui::Footer &f = m.footer;
    out << "refresh: " + button(f.refresh)
        << "login: " + f.startAtLogin +
               (f.launchAtLogin ? QStringLiteral(" [on]") : QStringLiteral(" [off]"))
        << "language: " + picker(f.language);
    if (f.signOut)
        out << "sign out: " + *f.signOut;
    if (f.showMetric)
        out << "metric: " + f.metricLabel + u' ' + picker(f.metric);
    if (f.updates)
        out << "updates: " + *f.updates;
    for (const ui::Confirmation *c : {&m.pause, &m.enable})
        if (c->open)
            out << "dialog: " + c->title + " / " + c->confirm + " / " + c->cancel + " / " +
                       c->message.value_or(QStringLiteral("-"));
    return out;
}

} // namespace

class TestPulseMenuModel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void rules_data()
    {
        QTest::addColumn<PulseMenuInput>("input");
        QTest::addColumn<QStringList>("shows");
        QTest::addColumn<QStringList>("hides"); // line prefixes that must not appear

        QTest::newRow("signed out")
            << signedOut()
            << QStringList{"state: signed out", "prompt: See your own account here.",
                           "sign in: Sign in [enabled]"}
            << QStringList{"sign out:", "metric:", "account error:", "updates:", "dialog:"};
        QTest::newRow("signing in")
            << with(signedOut(), [](auto &in) { in.signingIn = true; })
            << QStringList{"sign in: Waiting for browser… [disabled]"} << QStringList{};
        QTest::newRow("signed in, loading")
            << with(signedOut(), [](auto &in) { in.isSignedIn = true; })
            << QStringList{"state: loading", "loading: Loading your account…", "sign out: Sign out",
                           "metric: Menu bar: Public book %=book|My return %=pct|My P/L "
                           "today=pnl|My P/L since start=pnlTotal @0"}
            << QStringList{"no brokerage:", "prompt:"};
        QTest::newRow("cached portfolio while signed out")
            << with(withAccount(), [](auto &in) { in.isSignedIn = false; })
            << QStringList{"state: account", "equity: $12,500"}
            << QStringList{"prompt:", "sign out:", "metric:"};
        QTest::newRow("no brokerage account")
            << with(withAccount(), [](auto &in) { in.portfolio->accounts.clear(); })
            << QStringList{"no brokerage: No brokerage account connected yet.",
                           "pill: AUTO ON (gain)"}
            << QStringList{"equity:", "today:", "positions:", "row:", "more:"};
        QTest::newRow("zero positions")
            << withAccount(0)
            << QStringList{"position rows: 0", "positions: 0 positions (secondary)"}
            << QStringList{"more:"};
        QTest::newRow("five positions")
            << withAccount(5)
            << QStringList{"position rows: 5", "row: NVDA -3.00% (loss) $25,000",
                           "row: GOOGL +3.00% (gain) $19,000"}
            << QStringList{"more:"};
        QTest::newRow("eight positions")
            << withAccount(8) << QStringList{"position rows: 5", "more: +3 more in the app"}
            << QStringList{"row: META"};
        QTest::newRow("position percent as received, missing percent")
            << with(withAccount(2),
                    [](auto &in) {
                        in.positions[0].unrealizedPlpc = -0.5;
                        in.positions[1].unrealizedPlpc.reset();
                        in.positions[1].marketValue.reset();
                    })
            << QStringList{"row: NVDA -0.50% (loss) $25,000", "row: AAPL - —"} << QStringList{};
        QTest::newRow("kill switch hides both buttons")
            << with(withAccount(), [](auto &in) { in.portfolio->worker->killSwitch = true; })
            << QStringList{"pill: KILL SWITCH (loss)"} << QStringList{"auto button:"};
        QTest::newRow("auto on") << withAccount()
                                 << QStringList{"pill: AUTO ON (gain)",
                                                "auto button: Pause [enabled]",
                                                "next cycle: Next cycle in 45 minutes · paper"}
                                 << QStringList{};
        QTest::newRow("auto change in flight")
            << with(withAccount(), [](auto &in) { in.togglingAuto = true; })
            << QStringList{"auto button: Pause [disabled]"} << QStringList{};
        QTest::newRow("observer") << with(withAccount(),
                                          [](auto &in) {
                                              in.portfolio->worker->autoExecuteEnabled = false;
                                          })
                                  << QStringList{"pill: OBSERVER (secondary)",
                                                 "auto button: Enable [enabled]"}
                                  << QStringList{"next cycle:"};
        QTest::newRow("no worker record")
            << with(withAccount(), [](auto &in) { in.portfolio->worker.reset(); })
            << QStringList{"pill: OBSERVER (secondary)", "auto button: Enable [enabled]"}
            << QStringList{"next cycle:"};
        QTest::newRow("decision without symbols")
            << with(withAccount(),
                    [](auto &in) {
                        in.todayDecision = TodayDecision{"2025-03-07", {}};
                    })
            << QStringList{"decision: Today: no trade — that's discipline"} << QStringList{};
        QTest::newRow("decision with symbols, in order") << with(withAccount(), [](auto &in) {
            in.todayDecision = TodayDecision{"d", {"MSFT", "AAPL"}};
        }) << QStringList{"decision: Today: MSFT, AAPL"} << QStringList{};
        QTest::newRow("equity against baseline")
            << withAccount()
            << QStringList{"equity change: +25.00% (gain)", "today: +$120 today (gain)",
                           "closing: as of 2:29\u202fPM", "badge: live · 42s (live)"}
            << QStringList{};
        QTest::newRow("zero baseline: no change, loss today") << with(withAccount(), [](auto &in) {
            in.portfolio->totals->baseline = 0.0;
            in.portfolio->totals->todayPnl = -37.0;
        }) << QStringList{"today: -$37 today (loss)"} << QStringList{"equity change:"};
        QTest::newRow("no totals")
            << with(withAccount(), [](auto &in) { in.portfolio->totals.reset(); })
            << QStringList{"equity: —"} << QStringList{"equity change:", "today:"};
        QTest::newRow("older account data")
            << with(withAccount(), [](auto &in) { in.portfolioAsOf = now.addSecs(-300); })
            << QStringList{"badge: as of 5 minutes ago"} << QStringList{};
        QTest::newRow("account error under the sign-in prompt")
            << with(signedOut(), [](auto &in) { in.accountError = "offline — try again"; })
            << QStringList{"state: signed out", "account error: offline — try again (warning)"}
            << QStringList{};
        QTest::newRow("public book")
            << signedOut() << QStringList{"public title: PUBLIC BOOK",
                                          "return: +12.35% (gain)",
                                          "vs: +3.10% vs S&P 500",
                                          "ideas: 7 ideas open (secondary)",
                                          "updated: 2 hours ago (secondary)",
                                          "sparkline: 5 values (gain)"}
            << QStringList{"public error:", "placeholder:"};
        QTest::newRow("no benchmark, no update time") << with(signedOut(), [](auto &in) {
            in.vsSpyPct.reset();
            in.lastUpdate.reset();
        }) << QStringList{"return: +12.35% (gain)"} << QStringList{"vs:", "updated:"};
        QTest::newRow("sparkline under 3 values")
            << with(signedOut(),
                    [](auto &in) {
                        in.sparkline = {1, 2};
                    })
            << QStringList{"return: +12.35% (gain)", "ideas: 7 ideas open (secondary)"}
            << QStringList{"sparkline:"};
        QTest::newRow("negative return colours the chart")
            << with(signedOut(), [](auto &in) { in.returnPct = -1.0; })
            << QStringList{"return: -1.00% (loss)", "sparkline: 5 values (loss)"} << QStringList{};
        QTest::newRow("public error with last fetch")
            << with(signedOut(),
                    [](auto &in) { in.pulseError = "offline — showing last known numbers"; })
            << QStringList{"public error: offline — showing last known numbers · as of "
                           "2:25\u202fPM"}
            << QStringList{};
        QTest::newRow("public error never fetched") << with(signedOut(), [](auto &in) {
            in.pulseError = "offline";
            in.fetchedAt.reset();
        }) << QStringList{} << QStringList{"public error:"};
        QTest::newRow("no return, error only")
            << with(signedOut(),
                    [](auto &in) {
                        in.returnPct.reset();
                        in.pulseError = "offline — showing last known numbers";
                    })
            << QStringList{"placeholder: offline — showing last known numbers"}
            << QStringList{"return:", "sparkline:", "public error:"};
        QTest::newRow("no return yet")
            << with(signedOut(), [](auto &in) { in.returnPct.reset(); })
            << QStringList{"placeholder: Loading the public book…"} << QStringList{"return:"};
        QTest::newRow("refreshing")
            << with(signedOut(), [](auto &in) { in.refreshing = true; })
            << QStringList{"refresh: Refreshing… [disabled]"} << QStringList{};
        QTest::newRow("footer choices")
            << with(withAccount(),
                    [](auto &in) {
                        in.canCheckUpdates = true;
                        in.launchAtLogin = true;
                        in.language = "pt";
                    })
            << QStringList{"updates: Updates", "login: Start at login [on]",
                           "language: System=system|EN=en|PT=pt @2"}
            << QStringList{};
        QTest::newRow("unknown metric selects nothing")
            << with(withAccount(), [](auto &in) { in.menuMetric = "weird"; })
            << QStringList{"metric: Menu bar: Public book %=book|My return %=pct|My P/L "
                           "today=pnl|My P/L since start=pnlTotal @-1"}
            << QStringList{};
        QTest::newRow("pause confirmation")
            << with(withAccount(), [](auto &in) { in.confirmingPause = true; })
            << QStringList{"dialog: Pause auto-execution? / Pause — Mireo stops placing orders "
                           "/ Cancel / Your open positions stay untouched. You can resume "
                           "anytime."}
            << QStringList{};
        QTest::newRow("enable confirmation")
            << with(withAccount(), [](auto &in) { in.confirmingEnable = true; })
            << QStringList{"dialog: Enable auto-execution? / Enable — Mireo trades this account "
                           "(paper) / Cancel / -"}
            << QStringList{};
        QTest::newRow("Portuguese account")
            << with(withAccount(6),
                    [](auto &in) {
                        in.isPT = true;
                        in.locale = {QStringLiteral("pt_PT"), "UTC"};
                        in.portfolioAsOf = now.addSecs(-300);
                    })
            // Plurals, word order and the prefix before a worded age differ from English.
            << QStringList{"badge: há há 5 minutos",
                           "today: +$120 hoje (gain)",
                           "positions: 6 posições (secondary)",
                           "more: +1 mais na app",
                           "next cycle: Próximo ciclo dentro de 45 minutos · paper",
                           "closing: às 14:25",
                           "ideas: 7 ideias abertas (secondary)"}
            << QStringList{};
    }
    void rules()
    {
        QFETCH(PulseMenuInput, input);
        QFETCH(QStringList, shows);
        QFETCH(QStringList, hides);
        const QStringList lines = describe(ui::pulseMenuModel(input));
        for (const QString &expected : shows)
            QVERIFY2(lines.contains(expected),
                     qPrintable("missing: " + expected + "\n  " + lines.join("\n  ")));
        for (const QString &prefix : hides)
            for (const QString &shown : lines)
                QVERIFY2(!shown.startsWith(prefix), qPrintable("unexpected: " + shown));
    }
};

QTEST_GUILESS_MAIN(TestPulseMenuModel)
#include "tst_pulsemenumodel.moc"
