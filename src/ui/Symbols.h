#pragma once

#include "ui/Palette.h"

#include <QWidget>

class QPainter;

namespace ui {

// Small line drawings that lead some rows, tinted like the text beside them.
enum class Symbol { Sun, Grid, Bolt, Clock, ClockArrow };

// Draws `symbol` inside `box` with the painter's current pen colour.
void drawSymbol(QPainter &painter, Symbol symbol, const QRectF &box);

class SymbolView : public QWidget
{
    Q_OBJECT
public:
    // `size` in points: the height of the text it stands beside.
    SymbolView(Symbol symbol, Tone tone, int size, QWidget *parent = nullptr);
    void setSymbol(Symbol symbol, Tone tone);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Symbol m_symbol;
    Tone m_tone;
};

// The brand's filled gold circle, `size` points across.
class GoldDot : public QWidget
{
public:
    explicit GoldDot(int size, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace ui
