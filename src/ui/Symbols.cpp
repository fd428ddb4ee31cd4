#include "ui/Symbols.h"

#include <QPainter>
#include <QPainterPath>
#include <QtMath>

namespace ui {

namespace {

void drawSun(QPainter &painter, const QRectF &box, double stroke)
{
    const QPointF centre = box.center();
    const double radius = box.width() * 0.2;
    painter.drawEllipse(centre, radius, radius);
    for (int ray = 0; ray < 8; ++ray) {
        const double angle = ray * M_PI / 4;
        const QPointF direction(std::cos(angle), std::sin(angle));
        painter.drawLine(centre + direction * (radius + stroke * 1.2),
                         centre + direction * (box.width() / 2 - stroke / 2));
    }
}

void drawGrid(QPainter &painter, const QRectF &box, double stroke)
{
    // Four round cells, as in a 2 × 2 grid of dots.
    const double cell = (box.width() - stroke) / 2;
    const double radius = cell / 2 - stroke * 0.6;
    for (int row = 0; row < 2; ++row)
        for (int column = 0; column < 2; ++column)
            painter.drawEllipse(QPointF(box.left() + stroke / 2 + cell * (column + 0.5),
                                        box.top() + stroke / 2 + cell * (row + 0.5)),
                                radius, radius);
}

void drawBolt(QPainter &painter, const QRectF &box)
{
    const auto at = [&box](double x, double y) {
        return QPointF(box.left() + box.width() * x, box.top() + box.height() * y);
    };
    QPainterPath bolt(at(0.58, 0.04));
    bolt.lineTo(at(0.18, 0.56));
    bolt.lineTo(at(0.48, 0.56));
    bolt.lineTo(at(0.40, 0.96));
    bolt.lineTo(at(0.82, 0.42));
    bolt.lineTo(at(0.52, 0.42));
    bolt.closeSubpath();
    painter.drawPath(bolt);
}

void drawClockFace(QPainter &painter, const QRectF &face)
{
    painter.drawEllipse(face);
    const QPointF centre = face.center();
    painter.drawLine(centre, centre - QPointF(0, face.height() * 0.3));
    painter.drawLine(centre, centre + QPointF(face.width() * 0.22, 0));
}

void drawClockArrow(QPainter &painter, const QRectF &box, double stroke)
{
    // An open circle with an arrow head, round the hands of a clock.
    const QRectF ring = box.adjusted(stroke, stroke, -stroke, -stroke);
    painter.drawArc(ring, 120 * 16, -300 * 16);
    const QPointF centre = ring.center();
    painter.drawLine(centre, centre - QPointF(0, ring.height() * 0.28));
    painter.drawLine(centre, centre + QPointF(ring.width() * 0.2, 0));
    const double angle = qDegreesToRadians(120.0);
    const QPointF tip(centre.x() + ring.width() / 2 * std::cos(angle),
                      centre.y() - ring.height() / 2 * std::sin(angle));
    const double head = box.width() * 0.22;
    painter.drawLine(tip, tip + QPointF(-head, 0));
    painter.drawLine(tip, tip + QPointF(0.2 * head, head));
}

} // namespace

void drawSymbol(QPainter &painter, Symbol symbol, const QRectF &box)
{
    const double stroke = std::max(1.0, box.width() / 10);
    QPen pen = painter.pen();
    pen.setWidthF(stroke);
    pen.setCapStyle(Qt::RoundCap);
    pen.setJoinStyle(Qt::RoundJoin);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    const QRectF inner = box.adjusted(stroke / 2, stroke / 2, -stroke / 2, -stroke / 2);
    switch (symbol) {
    case Symbol::Sun:
        drawSun(painter, inner, stroke);
        break;
    case Symbol::Grid:
        drawGrid(painter, inner, stroke);
        break;
    case Symbol::Bolt:
        drawBolt(painter, inner);
        break;
    case Symbol::Clock:
        drawClockFace(painter, inner);
        break;
    case Symbol::ClockArrow:
        drawClockArrow(painter, inner, stroke);
        break;
    }
}

SymbolView::SymbolView(Symbol symbol, Tone tone, int size, QWidget *parent)
    : QWidget(parent), m_symbol(symbol), m_tone(tone)
{
    setFixedSize(size, size);
}

void SymbolView::setSymbol(Symbol symbol, Tone tone)
{
    if (symbol == m_symbol && tone == m_tone)
        return;
    m_symbol = symbol;
    m_tone = tone;
    update();
}

void SymbolView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(colorFor(m_tone, palette()));
    drawSymbol(painter, m_symbol, QRectF(rect()));
}

GoldDot::GoldDot(int size, QWidget *parent) : QWidget(parent)
{
    setFixedSize(size, size);
}

void GoldDot::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(gold());
    painter.drawEllipse(QRectF(rect()));
}

} // namespace ui
