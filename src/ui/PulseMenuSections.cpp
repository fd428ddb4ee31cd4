#include "ui/PulseMenuSections.h"

#include "ui/SparklineView.h"
#include "ui/Widgets.h"

#include <QAbstractButton>
#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QPainter>
#include <QPushButton>

namespace ui {

namespace {

static_assert(menuSpill == SparklineView::inkMargin);

class Divider : public QWidget
{
public:
    Divider()
    {
        setFixedHeight(1);
        setContentsMargins(menuSpill, 0, menuSpill, 0);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QColor color = palette().color(QPalette::WindowText);
        color.setAlphaF(0.15f);
        QPainter(this).fillRect(contentsRect(), color);
    }
};

// Everything but the chart keeps to the column; the chart alone may spill past it.
QWidget *inColumn(QWidget *section)
{
    if (QLayout *layout = section->layout())
        layout->setContentsMargins(menuSpill, 0, menuSpill, 0);
    else
        section->setContentsMargins(menuSpill, 0, menuSpill, 0);
    return section;
}

// A plain, unstyled button whose whole area reacts; its content is laid out inside it.
class RowButton : public QAbstractButton
{
public:
    RowButton() { setCursor(Qt::PointingHandCursor); }
    QSize sizeHint() const override { return layout() ? layout()->sizeHint() : QSize(); }

protected:
    void paintEvent(QPaintEvent *) override
    {
        if (!underMouse())
            return;
        QColor hover = palette().color(QPalette::WindowText);
        hover.setAlphaF(0.06f);
        QPainter(this).fillRect(rect(), hover);
    }
};

QHBoxLayout *hbox(int spacing)
{
    auto *box = new QHBoxLayout;
    box->setContentsMargins(0, 0, 0, 0);
    box->setSpacing(spacing);
    return box;
}

QVBoxLayout *vbox(int spacing)
{
    auto *box = new QVBoxLayout;
    box->setContentsMargins(0, 0, 0, 0);
    box->setSpacing(spacing);
    return box;
}

ToneLabel *text(const QString &content, Tone tone, const QFont &font, bool wrap = false)
{
    auto *label = new ToneLabel(content, tone, font);
    label->setWordWrap(wrap);
    return label;
}

// A big figure and, optionally, a smaller text beside it, sharing the first text baseline.
QHBoxLayout *baselineRow(int spacing, ToneLabel *big, ToneLabel *beside)
{
    auto *row = hbox(spacing);
    row->addWidget(big, 0, Qt::AlignBottom);
    if (beside) {
        // Both sit on the row's bottom; lift the smaller text by the difference in descent.
        const int lift =
            QFontMetrics(big->font()).descent() - QFontMetrics(beside->font()).descent();
        beside->setContentsMargins(0, 0, 0, std::max(0, lift));
        row->addWidget(beside, 0, Qt::AlignBottom);
    }
    row->addStretch(1);
    return row;
}

ToneLabel *sectionTitle(const QString &title)
{
    return text(title, Tone::Secondary, uiFont(9, QFont::DemiBold, 2));
}

QWidget *symbolLine(const SymbolLine &line, int points, bool wrap = false)
{
    auto *holder = new QWidget;
    auto *box = hbox(4);
    box->addWidget(new SymbolView(line.symbol, line.line.tone, points), 0, Qt::AlignTop);
    box->addWidget(text(line.line.text, line.line.tone, uiFont(points), wrap), wrap ? 1 : 0);
    holder->setLayout(box);
    return holder;
}

QPushButton *button(const QString &label, const std::function<void()> &action, const char *name,
                    bool enabled = true)
{
    auto *push = new QPushButton(label);
    push->setObjectName(QString::fromLatin1(name));
    push->setFont(uiFont(11));
    push->setEnabled(enabled);
    push->setAutoDefault(false);
    QObject::connect(push, &QPushButton::clicked, push, [action] {
        if (action)
            action();
    });
    return push;
}

// A small control: the label at 10 points, with little padding.
QPushButton *smallButton(const QString &label, const std::function<void()> &action,
                         const char *name, bool enabled = true)
{
    auto *push = button(label, action, name, enabled);
    push->setFont(uiFont(10));
    push->setStyleSheet(QStringLiteral("QPushButton { padding: 2px 7px; }"));
    return push;
}

QComboBox *pickerBox(const Picker &picker, const std::function<void(const QString &)> &choose,
                     const char *name)
{
    auto *combo = new QComboBox;
    combo->setObjectName(QString::fromLatin1(name));
    combo->setFont(uiFont(10));
    for (const Choice &choice : picker.choices)
        combo->addItem(choice.label, choice.value);
    combo->setCurrentIndex(picker.selected);
    QObject::connect(combo, &QComboBox::activated, combo, [combo, choose](int index) {
        if (choose)
            choose(combo->itemData(index).toString());
    });
    return combo;
}

QWidget *header(const PulseMenuModel &model)
{
    auto *row = new QWidget;
    auto *box = hbox(6);
    box->addWidget(new GoldDot(7));
    box->addWidget(text(model.brand, Tone::Primary, uiFont(11, QFont::Bold, 3)));
    box->addStretch(1);
    box->addWidget(text(model.strapline, Tone::Secondary, uiFont(9)));
    row->setLayout(box);
    return inColumn(row);
}

QWidget *positionRow(const PositionRow &position, const MenuActions &actions)
{
    auto *row = new RowButton;
    row->setObjectName(QStringLiteral("positionRow"));
    auto *box = hbox(8);
    box->setContentsMargins(0, 1, 0, 1);
    box->addWidget(text(position.symbol, Tone::Primary, uiFont(11, QFont::DemiBold)));
    if (position.change)
        box->addWidget(text(position.change->text, position.change->tone, uiFont(11)));
    // The money column keeps to the right edge, after the symbol and its change.
    box->addStretch(1);
    auto *value = text(position.marketValue, Tone::Secondary, uiFont(10));
    value->setMinimumWidth(58);
    value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    box->addWidget(value);
    row->setLayout(box);
    for (QWidget *child : row->findChildren<QWidget *>())
        child->setAttribute(Qt::WA_TransparentForMouseEvents);
    QObject::connect(row, &QAbstractButton::clicked, row, [action = actions.openPortfolio] {
        if (action)
            action();
    });
    return row;
}

void addFigures(QVBoxLayout *column, const AccountBlock &block, const MenuActions &actions)
{
    column->addLayout(baselineRow(
        8, text(block.equity, Tone::Primary, uiFont(24, QFont::DemiBold)),
        block.equityChange
            ? text(block.equityChange->text, block.equityChange->tone, uiFont(13, QFont::Medium))
            : nullptr));

    auto *todayRow = hbox(12);
    if (block.today)
        todayRow->addWidget(symbolLine(*block.today, 11));
    todayRow->addWidget(symbolLine(block.positionCount, 11));
    todayRow->addStretch(1);
    column->addLayout(todayRow);

    if (!block.positions.isEmpty()) {
        auto *holder = new QWidget;
        holder->setObjectName(QStringLiteral("positions"));
        auto *list = vbox(0);
        for (const PositionRow &position : block.positions)
            list->addWidget(positionRow(position, actions));
        holder->setLayout(list);
        column->addWidget(holder);
    }
    if (block.morePositions)
        column->addWidget(text(*block.morePositions, Tone::Secondary, uiFont(9)));
}

QWidget *accountBlock(const AccountBlock &block, const MenuActions &actions,
                      FreshnessBadgeView *&badge)
{
    auto *holder = new QWidget;
    auto *column = vbox(8);

    auto *head = hbox(6);
    head->addWidget(sectionTitle(block.title));
    if (block.badge) {
        badge = new FreshnessBadgeView;
        badge->setObjectName(QStringLiteral("freshnessBadge"));
        badge->setFreshness(*block.badge);
        head->addWidget(badge);
    }
    head->addStretch(1);
    auto *pill = new PillView(block.pill.text, block.pill.tone);
    pill->setObjectName(QStringLiteral("autoPill"));
    head->addWidget(pill);
    if (block.autoButton) {
        const bool pausing = block.autoControl == AutoControl::AutoOn;
        head->addWidget(smallButton(block.autoButton->label,
                                    pausing ? actions.pause : actions.enable,
                                    pausing ? "pause" : "enable", block.autoButton->enabled));
    }
    column->addLayout(head);

    if (block.noBrokerage)
        column->addWidget(text(*block.noBrokerage, Tone::Primary, uiFont(11), true));
    else
        addFigures(column, block, actions);

    if (block.decision)
        column->addWidget(symbolLine(*block.decision, 11, true));
    if (block.nextCycle)
        column->addWidget(symbolLine(*block.nextCycle, 11, true));
    if (block.closingLine)
        column->addWidget(text(*block.closingLine, Tone::Secondary, uiFont(9)));
    holder->setLayout(column);
    return holder;
}

QWidget *personalSection(const PersonalSection &section, const MenuActions &actions,
                         FreshnessBadgeView *&badge)
{
    auto *holder = new QWidget;
    holder->setObjectName(QStringLiteral("personal"));
    auto *column = vbox(8);
    switch (section.state) {
    case PersonalState::SignedOut:
        column->addWidget(text(section.prompt, Tone::Secondary, uiFont(11), true));
        column->addWidget(
            button(section.signIn.label, actions.signIn, "signIn", section.signIn.enabled), 0,
            Qt::AlignLeft);
        break;
    case PersonalState::Loading: {
        auto *row = hbox(6);
        auto *spinner = new SpinnerView(12);
        spinner->setObjectName(QStringLiteral("spinner"));
        row->addWidget(spinner);
        row->addWidget(text(section.loading, Tone::Primary, uiFont(11)));
        row->addStretch(1);
        column->addLayout(row);
        break;
    }
    case PersonalState::Account:
        column->addWidget(accountBlock(section.account, actions, badge));
        break;
    }
    if (section.error) {
        auto *error = text(section.error->text, section.error->tone, uiFont(10), true);
        error->setObjectName(QStringLiteral("accountError"));
        column->addWidget(error);
    }
    holder->setLayout(column);
    return inColumn(holder);
}

QWidget *publicSection(const PublicSection &section)
{
    auto *holder = new QWidget;
    holder->setObjectName(QStringLiteral("public"));
    auto *outer = vbox(0);
    holder->setLayout(outer);
    // The rows above the chart, inside the column.
    auto *top = new QWidget;
    auto *column = vbox(8);
    top->setLayout(column);
    outer->addWidget(inColumn(top));
    column->addWidget(sectionTitle(section.title));
    if (!section.bigReturn) {
        column->addWidget(text(section.placeholder, Tone::Secondary, uiFont(11), true));
        return holder;
    }
    column->addLayout(baselineRow(
        10, text(section.bigReturn->text, section.bigReturn->tone, uiFont(24, QFont::DemiBold)),
        section.versusBenchmark ? text(*section.versusBenchmark, Tone::Primary, uiFont(11))
                                : nullptr));

    auto *facts = hbox(10);
    facts->addWidget(symbolLine(section.ideasOpen, 10));
    if (section.lastUpdate)
        facts->addWidget(symbolLine(*section.lastUpdate, 10));
    facts->addStretch(1);
    column->addLayout(facts);

    // The chart's frame keeps the column's spacing; its ink margin reaches into it.
    if (section.sparkline) {
        auto *chart = new SparklineView;
        chart->setObjectName(QStringLiteral("sparkline"));
        chart->setValues(*section.sparkline);
        chart->setTone(section.sparklineTone);
        chart->setChartSize({menuContentWidth, 26});
        outer->addSpacing(8 - menuSpill);
        outer->addWidget(chart);
    }
    if (section.errorLine) {
        outer->addSpacing(section.sparkline ? 8 - menuSpill : 8);
        outer->addWidget(inColumn(text(*section.errorLine, Tone::Secondary, uiFont(9), true)));
    }
    return holder;
}

QWidget *footer(const Footer &f, const MenuActions &actions)
{
    auto *holder = new QWidget;
    auto *column = vbox(6);

    auto *commands = hbox(4);
    commands->addWidget(smallButton(f.openMireo, actions.openHome, "openMireo"));
    commands->addWidget(
        smallButton(f.refresh.label, actions.refresh, "refresh", f.refresh.enabled));
    commands->addStretch(1);
    if (f.signOut)
        commands->addWidget(smallButton(*f.signOut, actions.signOut, "signOut"));
    commands->addWidget(smallButton(f.quit, actions.quit, "quit"));
    column->addLayout(commands);

    if (f.showMetric) {
        auto *metric = hbox(6);
        metric->addWidget(text(f.metricLabel, Tone::Primary, uiFont(10)));
        metric->addWidget(pickerBox(f.metric, actions.setMetric, "metricPicker"));
        metric->addStretch(1);
        column->addLayout(metric);
    }

    auto *preferences = hbox(6);
    auto *login = new QCheckBox(f.startAtLogin);
    login->setObjectName(QStringLiteral("startAtLogin"));
    login->setFont(uiFont(10));
    login->setChecked(f.launchAtLogin);
    QObject::connect(login, &QCheckBox::toggled, login,
                     [action = actions.setLaunchAtLogin](bool on) {
                         if (action)
                             action(on);
                     });
    preferences->addWidget(login);
    preferences->addWidget(pickerBox(f.language, actions.setLanguage, "languagePicker"));
    preferences->addStretch(1);
    if (f.updates) {
        auto *updates = smallButton(*f.updates, actions.checkUpdates, "updates");
        updates->setFlat(true);
        updates->setCursor(Qt::PointingHandCursor);
        updates->setStyleSheet(
            QStringLiteral("QPushButton { border: none; padding: 0; color: palette(link); }"));
        preferences->addWidget(updates);
    }
    preferences->addWidget(text(f.shortcut, Tone::Secondary, uiFont(9)));
    column->addLayout(preferences);
    holder->setLayout(column);
    return inColumn(holder);
}

} // namespace

BuiltMenu buildPulseMenu(const PulseMenuModel &model, const MenuActions &actions)
{
    BuiltMenu built;
    built.content = new QWidget;
    const int width = menuContentWidth + 2 * menuSpill;
    built.content->setFixedWidth(width);
    auto *column = vbox(10);
    column->addWidget(header(model));
    column->addWidget(personalSection(model.personal, actions, built.badge));
    column->addWidget(new Divider);
    column->addWidget(publicSection(model.publicBook));
    column->addWidget(new Divider);
    column->addWidget(footer(model.footer, actions));
    built.content->setLayout(column);
    // Wrapped texts need the column's width to know their height.
    QWidget *content = built.content;
    content->setFixedHeight(content->hasHeightForWidth() ? content->heightForWidth(width)
                                                         : content->sizeHint().height());
    return built;
}

} // namespace ui
