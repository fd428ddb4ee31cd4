#include "ui/PulseMenuSections.h"

#include "ui/MenuParts.h"
#include "ui/SparklineView.h"
#include "ui/Symbols.h"
#include "ui/Widgets.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>

namespace ui {

static_assert(menuSpill == SparklineView::inkMargin);

class HeaderView : public QWidget
{
public:
    HeaderView()
        : m_brand(textLabel(Tone::Primary, uiFont(11, QFont::Bold, 3))),
          m_strapline(textLabel(Tone::Secondary, uiFont(9)))
    {
        auto *box = hbox(6);
        box->addWidget(new GoldDot(7));
        box->addWidget(m_brand);
        box->addStretch(1);
        box->addWidget(m_strapline);
        setLayout(box);
        keepToColumn(this);
    }

    void apply(const PulseMenuModel &model)
    {
        m_brand->setLine(model.brand);
        m_strapline->setLine(model.strapline);
    }

private:
    ToneLabel *m_brand;
    ToneLabel *m_strapline;
};

// Signed out, loading, or the account's head and figures.
class AccountView : public QWidget
{
public:
    explicit AccountView(const MenuActions &actions)
        : m_prompt(textLabel(Tone::Secondary, uiFont(11), true)),
          m_signIn(button("signIn", actions.signIn)), m_loading(new QWidget),
          m_loadingText(textLabel(Tone::Primary, uiFont(11))), m_head(new QWidget),
          m_title(sectionTitle()), m_badge(new FreshnessBadgeView),
          m_pill(new PillView({}, Tone::Secondary)), m_pause(smallButton("pause", actions.pause)),
          m_enable(smallButton("enable", actions.enable)),
          m_noBrokerage(textLabel(Tone::Primary, uiFont(11), true)),
          m_equity(new BaselineRow(8, uiFont(24, QFont::DemiBold), uiFont(13, QFont::Medium))),
          m_figures(new QWidget), m_today(new SymbolLineView(11)),
          m_positionCount(new SymbolLineView(11))
    {
        auto *column = vbox(8);
        column->addWidget(m_prompt);
        column->addWidget(m_signIn, 0, Qt::AlignLeft);

        auto *loading = hbox(6);
        auto *spinner = new SpinnerView(12);
        spinner->setObjectName(QStringLiteral("spinner"));
        loading->addWidget(spinner);
        loading->addWidget(m_loadingText);
        loading->addStretch(1);
        m_loading->setLayout(loading);
        column->addWidget(m_loading);

        auto *head = hbox(6);
        head->addWidget(m_title);
        m_badge->setObjectName(QStringLiteral("freshnessBadge"));
        head->addWidget(m_badge);
        head->addStretch(1);
        m_pill->setObjectName(QStringLiteral("autoPill"));
        head->addWidget(m_pill);
        head->addWidget(m_pause);
        head->addWidget(m_enable);
        m_head->setLayout(head);
        column->addWidget(m_head);

        column->addWidget(m_noBrokerage);
        column->addWidget(m_equity);
        auto *figures = hbox(12);
        figures->addWidget(m_today);
        figures->addWidget(m_positionCount);
        figures->addStretch(1);
        m_figures->setLayout(figures);
        column->addWidget(m_figures);
        setLayout(column);
    }

    FreshnessBadgeView *badge() const { return m_badge; }

    void apply(const PersonalSection &section)
    {
        const bool signedOut = section.state == PersonalState::SignedOut;
        m_prompt->setLine(section.prompt);
        showButton(m_signIn, section.signIn);
        m_prompt->setVisible(signedOut);
        m_signIn->setVisible(signedOut);

        m_loadingText->setLine(section.loading);
        m_loading->setVisible(section.state == PersonalState::Loading);

        const bool account = section.state == PersonalState::Account;
        const AccountBlock &block = section.account;
        m_title->setLine(block.title);
        if (block.badge)
            m_badge->setFreshness(*block.badge);
        m_badge->setVisible(bool(block.badge));
        m_pill->setPill(block.pill.text, block.pill.tone);
        // Two buttons rather than one relabelled, so that each click does what its label says.
        const bool pausing = block.autoControl == AutoControl::AutoOn;
        if (block.autoButton)
            showButton(pausing ? m_pause : m_enable, *block.autoButton);
        m_pause->setVisible(block.autoButton && pausing);
        m_enable->setVisible(block.autoButton && !pausing);
        m_head->setVisible(account);

        if (block.noBrokerage)
            m_noBrokerage->setLine(*block.noBrokerage);
        m_equity->apply({block.equity, Tone::Primary}, block.equityChange);
        m_today->apply(block.today);
        m_positionCount->apply(block.positionCount);
        m_noBrokerage->setVisible(account && block.noBrokerage);
        m_equity->setVisible(account && !block.noBrokerage);
        m_figures->setVisible(account && !block.noBrokerage);
    }

private:
    ToneLabel *m_prompt;
    QPushButton *m_signIn;
    QWidget *m_loading;
    ToneLabel *m_loadingText;
    QWidget *m_head;
    ToneLabel *m_title;
    FreshnessBadgeView *m_badge;
    PillView *m_pill;
    QPushButton *m_pause;
    QPushButton *m_enable;
    ToneLabel *m_noBrokerage;
    BaselineRow *m_equity;
    QWidget *m_figures;
    SymbolLineView *m_today;
    SymbolLineView *m_positionCount;
};

// The first positions, each a row that opens the portfolio, and how many more there are.
class PositionsView : public QWidget
{
public:
    explicit PositionsView(const MenuActions &actions)
        : m_list(new QWidget), m_more(textLabel(Tone::Secondary, uiFont(9)))
    {
        auto *list = vbox(0);
        for (qsizetype i = 0; i < shownPositions; ++i) {
            m_rows.append(new PositionRowView(actions.openPortfolio));
            list->addWidget(m_rows.constLast());
        }
        m_list->setObjectName(QStringLiteral("positions"));
        m_list->setLayout(list);
        auto *column = vbox(8);
        column->addWidget(m_list);
        column->addWidget(m_more);
        setLayout(column);
    }

    // False when there is nothing to show.
    bool apply(const AccountBlock &block)
    {
        for (qsizetype i = 0; i < m_rows.size(); ++i) {
            if (i < block.positions.size())
                m_rows[i]->apply(block.positions[i]);
            m_rows[i]->setVisible(i < block.positions.size());
        }
        m_list->setVisible(!block.positions.isEmpty());
        if (block.morePositions)
            m_more->setLine(*block.morePositions);
        m_more->setVisible(bool(block.morePositions));
        return !block.positions.isEmpty() || block.morePositions;
    }

private:
    QWidget *m_list;
    QList<PositionRowView *> m_rows;
    ToneLabel *m_more;
};

// Today's decision, the next cycle and the market's close.
class DecisionView : public QWidget
{
public:
    DecisionView()
        : m_decision(new SymbolLineView(11, true)), m_nextCycle(new SymbolLineView(11, true)),
          m_closing(textLabel(Tone::Secondary, uiFont(9)))
    {
        auto *column = vbox(8);
        column->addWidget(m_decision);
        column->addWidget(m_nextCycle);
        column->addWidget(m_closing);
        setLayout(column);
    }

    // False when there is nothing to show.
    bool apply(const AccountBlock &block)
    {
        m_decision->apply(block.decision);
        m_nextCycle->apply(block.nextCycle);
        if (block.closingLine)
            m_closing->setLine(*block.closingLine);
        m_closing->setVisible(bool(block.closingLine));
        return block.decision || block.nextCycle || block.closingLine;
    }

private:
    SymbolLineView *m_decision;
    SymbolLineView *m_nextCycle;
    ToneLabel *m_closing;
};

// The public book: its return, the facts under it, the chart and what went wrong.
class PublicBookView : public QWidget
{
public:
    PublicBookView()
        : m_title(sectionTitle()), m_placeholder(textLabel(Tone::Secondary, uiFont(11), true)),
          m_return(new BaselineRow(10, uiFont(24, QFont::DemiBold), uiFont(11))),
          m_facts(new QWidget), m_ideasOpen(new SymbolLineView(10)),
          m_lastUpdate(new SymbolLineView(10)), m_chartGap(new QSpacerItem(0, 0)),
          m_chart(new SparklineView), m_errorGap(new QSpacerItem(0, 0)),
          m_error(textLabel(Tone::Secondary, uiFont(9), true))
    {
        setObjectName(QStringLiteral("public"));
        // The rows above the chart, inside the column.
        auto *top = new QWidget;
        auto *column = vbox(8);
        column->addWidget(m_title);
        column->addWidget(m_placeholder);
        column->addWidget(m_return);
        auto *facts = hbox(10);
        facts->addWidget(m_ideasOpen);
        facts->addWidget(m_lastUpdate);
        facts->addStretch(1);
        m_facts->setLayout(facts);
        column->addWidget(m_facts);
        top->setLayout(column);

        auto *outer = vbox(0);
        outer->addWidget(keepToColumn(top));
        outer->addItem(m_chartGap);
        m_chart->setObjectName(QStringLiteral("sparkline"));
        m_chart->setChartSize({menuContentWidth, 26});
        outer->addWidget(m_chart);
        outer->addItem(m_errorGap);
        outer->addWidget(keepToColumn(m_error));
        setLayout(outer);
    }

    void apply(const PublicSection &section)
    {
        m_title->setLine(section.title);
        m_placeholder->setLine(section.placeholder);
        const bool figures = bool(section.bigReturn);
        if (figures)
            m_return->apply(*section.bigReturn,
                            section.versusBenchmark
                                ? std::optional<Line>({*section.versusBenchmark, Tone::Primary})
                                : std::nullopt);
        m_ideasOpen->apply(section.ideasOpen);
        m_lastUpdate->apply(section.lastUpdate);
        if (section.sparkline)
            m_chart->setValues(*section.sparkline);
        m_chart->setTone(section.sparklineTone);
        if (section.errorLine)
            m_error->setLine(*section.errorLine);

        // Without a return only the placeholder shows under the title.
        const bool chart = figures && section.sparkline;
        const bool error = figures && section.errorLine;
        m_placeholder->setVisible(!figures);
        m_return->setVisible(figures);
        m_facts->setVisible(figures);
        m_chart->setVisible(chart);
        m_error->setVisible(error);
        // The chart's frame keeps the column's spacing; its ink margin reaches into it.
        const int chartGap = chart ? 8 - menuSpill : 0;
        const int errorGap = error ? (chart ? 8 - menuSpill : 8) : 0;
        if (m_chartGap->sizeHint().height() != chartGap ||
            m_errorGap->sizeHint().height() != errorGap) {
            m_chartGap->changeSize(0, chartGap, QSizePolicy::Minimum, QSizePolicy::Fixed);
            m_errorGap->changeSize(0, errorGap, QSizePolicy::Minimum, QSizePolicy::Fixed);
            layout()->invalidate();
        }
    }

private:
    ToneLabel *m_title;
    ToneLabel *m_placeholder;
    BaselineRow *m_return;
    QWidget *m_facts;
    SymbolLineView *m_ideasOpen;
    SymbolLineView *m_lastUpdate;
    QSpacerItem *m_chartGap;
    SparklineView *m_chart;
    QSpacerItem *m_errorGap;
    ToneLabel *m_error;
};

// The commands, the menu bar's metric, start at login, the language and the updates.
class FooterView : public QWidget
{
public:
    explicit FooterView(const MenuActions &actions)
        : m_openMireo(smallButton("openMireo", actions.openHome)),
          m_refresh(smallButton("refresh", actions.refresh)),
          m_signOut(smallButton("signOut", actions.signOut)),
          m_quit(smallButton("quit", actions.quit)), m_metricRow(new QWidget),
          m_metricLabel(textLabel(Tone::Primary, uiFont(10))),
          m_metric(picker("metricPicker", actions.setMetric)), m_startAtLogin(new QCheckBox),
          m_language(picker("languagePicker", actions.setLanguage)),
          m_updates(button("updates", actions.checkUpdates, 10)),
          m_shortcut(textLabel(Tone::Secondary, uiFont(9)))
    {
        auto *commands = hbox(4);
        commands->addWidget(m_openMireo);
        commands->addWidget(m_refresh);
        commands->addStretch(1);
        commands->addWidget(m_signOut);
        commands->addWidget(m_quit);

        auto *metric = hbox(6);
        metric->addWidget(m_metricLabel);
        metric->addWidget(m_metric);
        metric->addStretch(1);
        m_metricRow->setLayout(metric);

        m_startAtLogin->setObjectName(QStringLiteral("startAtLogin"));
        m_startAtLogin->setFont(uiFont(10));
        // Clicks only: the box mirroring the state it is given asks for nothing.
        QObject::connect(m_startAtLogin, &QCheckBox::clicked, m_startAtLogin,
                         [action = actions.setLaunchAtLogin](bool on) {
                             if (action)
                                 action(on);
                         });
        m_updates->setFlat(true);
        m_updates->setCursor(Qt::PointingHandCursor);
        m_updates->setStyleSheet(
            QStringLiteral("QPushButton { border: none; padding: 0; color: palette(link); }"));
        auto *preferences = hbox(6);
        preferences->addWidget(m_startAtLogin);
        preferences->addWidget(m_language);
        preferences->addStretch(1);
        preferences->addWidget(m_updates);
        preferences->addWidget(m_shortcut);

        auto *column = vbox(6);
        column->addLayout(commands);
        column->addWidget(m_metricRow);
        column->addLayout(preferences);
        setLayout(column);
        keepToColumn(this);
    }

    void apply(const Footer &f)
    {
        showButton(m_openMireo, {f.openMireo});
        showButton(m_refresh, f.refresh);
        if (f.signOut)
            showButton(m_signOut, {*f.signOut});
        m_signOut->setVisible(bool(f.signOut));
        showButton(m_quit, {f.quit});

        m_metricLabel->setLine(f.metricLabel);
        showPicker(m_metric, f.metric);
        m_metricRow->setVisible(f.showMetric);

        if (m_startAtLogin->text() != f.startAtLogin)
            m_startAtLogin->setText(f.startAtLogin);
        m_startAtLogin->setChecked(f.launchAtLogin);
        showPicker(m_language, f.language);
        if (f.updates)
            showButton(m_updates, {*f.updates});
        m_updates->setVisible(bool(f.updates));
        m_shortcut->setLine(f.shortcut);
    }

private:
    QPushButton *m_openMireo;
    QPushButton *m_refresh;
    QPushButton *m_signOut;
    QPushButton *m_quit;
    QWidget *m_metricRow;
    ToneLabel *m_metricLabel;
    QComboBox *m_metric;
    QCheckBox *m_startAtLogin;
    QComboBox *m_language;
    QPushButton *m_updates;
    ToneLabel *m_shortcut;
};

PulseMenuColumn::PulseMenuColumn(const MenuActions &actions, QWidget *parent)
    : QWidget(parent), m_header(new HeaderView), m_account(new AccountView(actions)),
      m_positions(new PositionsView(actions)), m_decision(new DecisionView),
      m_accountError(textLabel(Tone::Warning, uiFont(10), true)), m_public(new PublicBookView),
      m_footer(new FooterView(actions))
{
    setFixedWidth(menuContentWidth + 2 * menuSpill);
    // Whatever the state, the account's error shows under it.
    auto *personal = new QWidget;
    personal->setObjectName(QStringLiteral("personal"));
    auto *personalColumn = vbox(8);
    personalColumn->addWidget(m_account);
    personalColumn->addWidget(m_positions);
    personalColumn->addWidget(m_decision);
    m_accountError->setObjectName(QStringLiteral("accountError"));
    personalColumn->addWidget(m_accountError);
    personal->setLayout(personalColumn);

    auto *column = vbox(10);
    column->addWidget(m_header);
    column->addWidget(keepToColumn(personal));
    column->addWidget(new Divider);
    column->addWidget(m_public);
    column->addWidget(new Divider);
    column->addWidget(m_footer);
    setLayout(column);
}

FreshnessBadgeView *PulseMenuColumn::badge() const
{
    return m_account->badge();
}

void PulseMenuColumn::apply(const PulseMenuModel &model)
{
    m_header->apply(model);
    const PersonalSection &personal = model.personal;
    m_account->apply(personal);
    // Positions come with the account's figures; the decision with any account.
    const bool account = personal.state == PersonalState::Account;
    const bool positions = m_positions->apply(personal.account);
    m_positions->setVisible(account && !personal.account.noBrokerage && positions);
    const bool decision = m_decision->apply(personal.account);
    m_decision->setVisible(account && decision);
    if (personal.error)
        m_accountError->setLine(personal.error->text, personal.error->tone);
    m_accountError->setVisible(bool(personal.error));
    m_public->apply(model.publicBook);
    m_footer->apply(model.footer);
    fitHeight();
}

void PulseMenuColumn::fitHeight()
{
    // Wrapped texts need the column's width to know their height. The layouts keep the sizes
    // they last measured until the event loop lays them out again, so all are asked afresh.
    for (QWidget *widget : findChildren<QWidget *>())
        widget->updateGeometry();
    for (QLayout *layout : findChildren<QLayout *>())
        layout->invalidate();
    setFixedHeight(hasHeightForWidth() ? heightForWidth(width()) : sizeHint().height());
}

} // namespace ui
