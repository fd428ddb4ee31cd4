#pragma once

#include "ui/PulseMenuModel.h"
#include "ui/Widgets.h"

#include <QAbstractButton>
#include <functional>
#include <optional>

class QBoxLayout;
class QComboBox;
class QHBoxLayout;
class QPushButton;
class QVBoxLayout;

// The pieces the popover's sections are made of. Each is built once and then shown its part of
// the model, changing only what differs.
namespace ui {

class SymbolView;

QHBoxLayout *hbox(int spacing);
QVBoxLayout *vbox(int spacing);
// Everything but the chart keeps to the column; the chart alone may spill past it.
QWidget *keepToColumn(QWidget *section);

ToneLabel *textLabel(Tone tone, const QFont &font, bool wrap = false);
ToneLabel *sectionTitle();

// A push button named `name` whose click runs `action`; `points` is its label's size.
QPushButton *button(const char *name, const std::function<void()> &action, int points = 11);
// A small command: the label at 10 points, with little padding.
QPushButton *smallButton(const char *name, const std::function<void()> &action);
void showButton(QPushButton *push, const Button &shown);

// A drop-down whose choice, when the user makes one, goes to `choose` as its value.
QComboBox *picker(const char *name, const std::function<void(const QString &)> &choose);
// The choices are replaced only when their number changes; otherwise their labels and the
// selection change in place, so an open list stays open on the item under the keyboard.
void showPicker(QComboBox *combo, const Picker &picker);

// A faint line across the column.
class Divider : public QWidget
{
public:
    Divider();

protected:
    void paintEvent(QPaintEvent *event) override;
};

// A big figure and, optionally, a smaller text beside it, sharing the first text baseline.
class BaselineRow : public QWidget
{
public:
    BaselineRow(int spacing, const QFont &big, const QFont &beside);
    void apply(const Line &big, const std::optional<Line> &beside);

private:
    ToneLabel *m_big;
    ToneLabel *m_beside;
};

// A text led by a drawn symbol in its tone; hidden without one.
class SymbolLineView : public QWidget
{
public:
    explicit SymbolLineView(int points, bool wrap = false);
    void apply(const std::optional<SymbolLine> &line);

private:
    SymbolView *m_symbol;
    ToneLabel *m_text;
};

// One position: a plain, unstyled button whose whole area reacts.
class PositionRowView : public QAbstractButton
{
public:
    explicit PositionRowView(const std::function<void()> &open);
    void apply(const PositionRow &row);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    ToneLabel *m_symbol;
    ToneLabel *m_change;
    ToneLabel *m_value;
};

} // namespace ui
