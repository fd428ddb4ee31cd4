#include "ui/PulseMenuModel.h"

#include "pulse/CycleSchedule.h"

namespace ui {

namespace {

// The bilingual pair, picked by the input's language rather than read afresh.
struct Texts
{
    bool pt;
    QString operator()(const char *english, const char *portuguese) const
    {
        return QString::fromUtf8(pt ? portuguese : english);
    }
};

Picker picker(QList<Choice> choices, const QString &stored)
{
    Picker result{std::move(choices), -1};
    for (int i = 0; i < result.choices.size(); ++i)
        if (result.choices[i].value == stored)
            result.selected = i;
    return result;
}

void fillAutoControl(AccountBlock &block, const PulseMenuInput &in, const Texts &tr)
{
    const std::optional<Worker> &worker = in.portfolio->worker;
    if (worker && worker->killSwitch == true) {
        block.autoControl = AutoControl::KillSwitch;
        block.pill = {QStringLiteral("KILL SWITCH"), Tone::Loss};
    } else if (worker && worker->autoExecuteEnabled == true) {
        block.autoControl = AutoControl::AutoOn;
        block.pill = {QStringLiteral("AUTO ON"), Tone::Gain};
        block.autoButton = Button{tr("Pause", "Pausar"), !in.togglingAuto};
    } else {
        block.autoControl = AutoControl::Observer;
        block.pill = {QStringLiteral("OBSERVER"), Tone::Secondary};
        block.autoButton = Button{tr("Enable", "Ativar"), !in.togglingAuto};
    }
}

void fillFigures(AccountBlock &block, const PulseMenuInput &in, const Texts &tr)
{
    const Portfolio &portfolio = *in.portfolio;
    const Totals totals = portfolio.totals.value_or(Totals{});
    block.equity = money(totals.equity, in.locale);
    if (totals.equity && totals.baseline && *totals.baseline > 0) {
        const double pct = (*totals.equity / *totals.baseline - 1) * 100;
        block.equityChange = Line{signedPercent(pct), toneFor(pct)};
    }
    if (totals.todayPnl)
        block.today = SymbolLine{Symbol::Sun,
                                 {moneySigned(*totals.todayPnl, in.locale) + tr(" today", " hoje"),
                                  toneFor(*totals.todayPnl)}};
    block.positionCount = {
        Symbol::Grid,
        {QString::number(portfolio.openPositions()) + tr(" positions", " posições"),
         Tone::Secondary}};
    for (const Position &position :
         in.positions.first(std::min(in.positions.size(), shownPositions))) {
        PositionRow row{position.symbol, std::nullopt, money(position.marketValue, in.locale)};
        // Already in percent as the server sends it.
        if (position.unrealizedPlpc)
            row.change =
                Line{signedPercent(*position.unrealizedPlpc), toneFor(*position.unrealizedPlpc)};
        block.positions.append(row);
    }
    if (in.positions.size() > shownPositions)
        block.morePositions = QLatin1Char('+') +
                              QString::number(in.positions.size() - shownPositions) +
                              tr(" more in the app", " mais na app");
}

AccountBlock accountBlock(const PulseMenuInput &in, const Texts &tr)
{
    AccountBlock block;
    block.title = tr("YOUR ACCOUNT", "A TUA CONTA");
    if (in.portfolioAsOf) {
        block.badgeDate = in.portfolioAsOf;
        block.badge = freshnessBadge(*in.portfolioAsOf, in.now, in.isPT, in.locale);
    }
    fillAutoControl(block, in, tr);
    if (in.portfolio->accounts.isEmpty())
        block.noBrokerage =
            tr("No brokerage account connected yet.", "Ainda sem conta de corretora ligada.");
    else
        fillFigures(block, in, tr);

    if (in.todayDecision) {
        const QStringList &symbols = in.todayDecision->symbols;
        block.decision = SymbolLine{
            Symbol::Bolt,
            {symbols.isEmpty() ? tr("Today: no trade — that's discipline",
                                    "Hoje: sem operação — a disciplina faz parte")
                               : tr("Today: ", "Hoje: ") + symbols.join(QStringLiteral(", ")),
             Tone::Primary}};
    }
    // The next cycle only matters to an account the service trades.
    const std::optional<Worker> &worker = in.portfolio->worker;
    if (worker && worker->autoExecuteEnabled == true) {
        if (const auto next = CycleSchedule::nextTenantCycle(in.now)) {
            QString text =
                tr("Next cycle ", "Próximo ciclo ") + relativePhrase(*next, in.now, in.locale);
            if (worker->tradingMode)
                text += QStringLiteral(" · ") + *worker->tradingMode;
            block.nextCycle = SymbolLine{Symbol::ClockArrow, {text, Tone::Primary}};
        }
    }
    if (in.portfolioAsOf)
        block.closingLine = tr("as of ", "às ") + shortTime(*in.portfolioAsOf, in.locale);
    return block;
}

PersonalSection personalSection(const PulseMenuInput &in, const Texts &tr)
{
    PersonalSection section;
    // A cached portfolio shows even before the session is back.
    if (in.portfolio) {
        section.state = PersonalState::Account;
        section.account = accountBlock(in, tr);
    } else if (in.isSignedIn) {
        section.state = PersonalState::Loading;
        section.loading = tr("Loading your account…", "A carregar a tua conta…");
    } else {
        section.state = PersonalState::SignedOut;
        section.prompt = tr("See your own account here.", "Vê aqui a tua própria conta.");
        section.signIn = {in.signingIn ? tr("Waiting for browser…", "À espera do browser…")
                                       : tr("Sign in", "Iniciar sessão"),
                          !in.signingIn};
    }
    if (in.accountError)
        section.error = Line{*in.accountError, Tone::Warning};
    return section;
}

PublicSection publicSection(const PulseMenuInput &in, const Texts &tr)
{
    PublicSection section;
    section.title = tr("PUBLIC BOOK", "LIVRO PÚBLICO");
    if (!in.returnPct) {
        section.placeholder =
            in.pulseError.value_or(tr("Loading the public book…", "A carregar o livro público…"));
        return section;
    }
    const double pct = *in.returnPct;
    section.bigReturn = Line{signedPercent(pct), toneFor(pct)};
    if (in.vsSpyPct)
        section.versusBenchmark = signedPercent(*in.vsSpyPct) + QStringLiteral(" vs S&P 500");
    section.ideasOpen = {Symbol::Grid,
                         {QString::number(in.openPositions) + tr(" ideas open", " ideias abertas"),
                          Tone::Secondary}};
    if (in.lastUpdate)
        section.lastUpdate = SymbolLine{
            Symbol::Clock, {relativePhrase(*in.lastUpdate, in.now, in.locale), Tone::Secondary}};
    // Fewer than three values make no curve worth drawing.
    if (in.sparkline.size() >= 3) {
        section.sparkline = in.sparkline;
        section.sparklineTone = toneFor(pct);
    }
    if (in.pulseError && in.fetchedAt)
        section.errorLine =
            *in.pulseError + QStringLiteral(" · as of ") + shortTime(*in.fetchedAt, in.locale);
    return section;
}

Footer footer(const PulseMenuInput &in, const Texts &tr)
{
    Footer f;
    f.openMireo = tr("Open Mireo", "Abrir Mireo");
    f.refresh = {in.refreshing ? tr("Refreshing…", "A atualizar…") : tr("Refresh", "Atualizar"),
                 !in.refreshing};
    if (in.isSignedIn)
        f.signOut = tr("Sign out", "Sair da conta");
    f.quit = tr("Quit", "Fechar");
    f.showMetric = in.isSignedIn;
    f.metricLabel = tr("Menu bar:", "Na barra:");
    f.metric =
        picker({{tr("Public book %", "Livro público %"), QStringLiteral("book")},
                {tr("My return %", "Meu retorno %"), QStringLiteral("pct")},
                {tr("My P/L today", "Meu P/L de hoje"), QStringLiteral("pnl")},
                {tr("My P/L since start", "Meu P/L desde o início"), QStringLiteral("pnlTotal")}},
               in.menuMetric);
    f.startAtLogin = tr("Start at login", "Abrir no arranque");
    f.launchAtLogin = in.launchAtLogin;
    f.language = picker({{tr("System", "Sistema"), QStringLiteral("system")},
                         {QStringLiteral("EN"), QStringLiteral("en")},
                         {QStringLiteral("PT"), QStringLiteral("pt")}},
                        in.language);
    if (in.canCheckUpdates)
        f.updates = tr("Updates", "Atualizações");
    f.shortcut = QStringLiteral("⌥⇧K");
    return f;
}

} // namespace

PulseMenuModel pulseMenuModel(const PulseMenuInput &input)
{
    const Texts tr{input.isPT};
    PulseMenuModel model;
    model.brand = QStringLiteral("MIREO");
    model.strapline = QStringLiteral("paper · live · unedited");
    model.personal = personalSection(input, tr);
    model.publicBook = publicSection(input, tr);
    model.footer = footer(input, tr);
    model.pause = {
        tr("Pause auto-execution?", "Pausar a auto-execução?"),
        tr("Pause — Mireo stops placing orders", "Pausar — a Mireo deixa de colocar ordens"),
        tr("Cancel", "Cancelar"),
        tr("Your open positions stay untouched. You can resume anytime.",
           "As tuas posições abertas ficam intocadas. Podes retomar quando quiseres."),
        input.confirmingPause};
    model.enable = {tr("Enable auto-execution?", "Ativar a auto-execução?"),
                    tr("Enable — Mireo trades this account (paper)",
                       "Ativar — a Mireo opera esta conta (paper)"),
                    tr("Cancel", "Cancelar"), std::nullopt, input.confirmingEnable};
    return model;
}

} // namespace ui
