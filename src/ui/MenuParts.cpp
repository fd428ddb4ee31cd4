#include "ui/MenuParts.h"

#include "ui/PulseMenuSections.h"
#include "ui/Symbols.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QPainter>
#include <QPushButton>

namespace ui {

namespace {

// A drop-down as wide as its labels, which change with the language. The stock one measures
// them again for its size hint, but keeps the first labels' width as its minimum.
class PickerBox : public QComboBox
{
public:
    PickerBox() { setSizeAdjustPolicy(QComboBox::AdjustToContents); }
    QSize minimumSizeHint() const override { return sizeHint(); }
};

} // namespace

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

QWidget *keepToColumn(QWidget *section)
{
    if (QLayout *layout = section->layout())
        layout->setContentsMargins(menuSpill, 0, menuSpill, 0);
    else
        section->setContentsMargins(menuSpill, 0, menuSpill, 0);
    return section;
}

ToneLabel *textLabel(Tone tone, const QFont &font, bool wrap)
{
    auto *label = new ToneLabel({}, tone, font);
    label->setWordWrap(wrap);
    return label;
}

ToneLabel *sectionTitle()
{
    return textLabel(Tone::Secondary, uiFont(9, QFont::DemiBold, 2));
}

QPushButton *button(const char *name, const std::function<void()> &action, int points)
{
    auto *push = new QPushButton;
    push->setObjectName(QString::fromLatin1(name));
    push->setFont(uiFont(points));
    push->setAutoDefault(false);
    QObject::connect(push, &QPushButton::clicked, push, [action] {
        if (action)
            action();
    });
    return push;
}

QPushButton *smallButton(const char *name, const std::function<void()> &action)
{
    auto *push = button(name, action, 10);
    push->setStyleSheet(QStringLiteral("QPushButton { padding: 2px 7px; }"));
    return push;
}

void showButton(QPushButton *push, const Button &shown)
{
    if (push->text() != shown.label)
        push->setText(shown.label);
    push->setEnabled(shown.enabled);
}

QComboBox *picker(const char *name, const std::function<void(const QString &)> &choose)
{
    auto *combo = new PickerBox;
    combo->setObjectName(QString::fromLatin1(name));
    combo->setFont(uiFont(10));
    QObject::connect(combo, &QComboBox::activated, combo, [combo, choose](int index) {
        if (choose)
            choose(combo->itemData(index).toString());
    });
    return combo;
}

void showPicker(QComboBox *combo, const Picker &picker)
{
    if (combo->count() != picker.choices.size()) {
        combo->clear();
        for (const Choice &choice : picker.choices)
            combo->addItem(choice.label, choice.value);
    }
    for (int i = 0; i < combo->count(); ++i) {
        const Choice &choice = picker.choices[i];
        if (combo->itemText(i) != choice.label)
            combo->setItemText(i, choice.label);
        if (combo->itemData(i).toString() != choice.value)
            combo->setItemData(i, choice.value);
    }
    if (combo->currentIndex() != picker.selected)
        combo->setCurrentIndex(picker.selected);
}

Divider::Divider()
{
    setFixedHeight(1);
    setContentsMargins(menuSpill, 0, menuSpill, 0);
}

void Divider::paintEvent(QPaintEvent *)
{
    QColor color = palette().color(QPalette::WindowText);
    color.setAlphaF(0.15f);
    QPainter(this).fillRect(contentsRect(), color);
}

BaselineRow::BaselineRow(int spacing, const QFont &big, const QFont &beside)
    : m_big(textLabel(Tone::Primary, big)), m_beside(textLabel(Tone::Primary, beside))
{
    auto *row = hbox(spacing);
    row->addWidget(m_big, 0, Qt::AlignBottom);
    // Both sit on the row's bottom; lift the smaller text by the difference in descent.
    const int lift = QFontMetrics(big).descent() - QFontMetrics(beside).descent();
    m_beside->setContentsMargins(0, 0, 0, std::max(0, lift));
    row->addWidget(m_beside, 0, Qt::AlignBottom);
    row->addStretch(1);
    setLayout(row);
}

void BaselineRow::apply(const Line &big, const std::optional<Line> &beside)
{
    m_big->setLine(big.text, big.tone);
    if (beside)
        m_beside->setLine(beside->text, beside->tone);
    m_beside->setVisible(bool(beside));
}

SymbolLineView::SymbolLineView(int points, bool wrap)
    : m_symbol(new SymbolView(Symbol::Sun, Tone::Primary, points)),
      m_text(textLabel(Tone::Primary, uiFont(points), wrap))
{
    auto *box = hbox(4);
    box->addWidget(m_symbol, 0, Qt::AlignTop);
    box->addWidget(m_text, wrap ? 1 : 0);
    setLayout(box);
}

void SymbolLineView::apply(const std::optional<SymbolLine> &line)
{
    if (line) {
        m_symbol->setSymbol(line->symbol, line->line.tone);
        m_text->setLine(line->line.text, line->line.tone);
    }
    setVisible(bool(line));
}

PositionRowView::PositionRowView(const std::function<void()> &open)
    : m_symbol(textLabel(Tone::Primary, uiFont(11, QFont::DemiBold))),
      m_change(textLabel(Tone::Primary, uiFont(11))),
      m_value(textLabel(Tone::Secondary, uiFont(10)))
{
    setObjectName(QStringLiteral("positionRow"));
    setCursor(Qt::PointingHandCursor);
    auto *box = hbox(8);
    box->setContentsMargins(0, 1, 0, 1);
    box->addWidget(m_symbol);
    box->addWidget(m_change);
    // The money column keeps to the right edge, after the symbol and its change.
    box->addStretch(1);
    m_value->setMinimumWidth(58);
    m_value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    box->addWidget(m_value);
    setLayout(box);
    for (QWidget *child : findChildren<QWidget *>())
        child->setAttribute(Qt::WA_TransparentForMouseEvents);
    connect(this, &QAbstractButton::clicked, this, [open] {
        if (open)
            open();
    });
}

void PositionRowView::apply(const PositionRow &row)
{
    m_symbol->setLine(row.symbol);
    if (row.change)
        m_change->setLine(row.change->text, row.change->tone);
    m_change->setVisible(bool(row.change));
    m_value->setLine(row.marketValue);
}

QSize PositionRowView::sizeHint() const
{
    return layout()->sizeHint();
}

void PositionRowView::paintEvent(QPaintEvent *)
{
    if (!underMouse())
        return;
    QColor hover = palette().color(QPalette::WindowText);
    hover.setAlphaF(0.06f);
    QPainter(this).fillRect(rect(), hover);
}

} // namespace ui
