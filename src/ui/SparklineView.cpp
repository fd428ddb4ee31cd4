#include "ui/SparklineView.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>

namespace ui {

QList<QPointF> sparklinePoints(const QList<double> &values, QSizeF size)
{
    QList<QPointF> points;
    if (values.isEmpty())
        return points;
    const auto [lowest, highest] = std::minmax_element(values.cbegin(), values.cend());
    const double lo = *lowest;
    // A flat series must not divide by zero.
    const double range = std::max(*highest - lo, 0.0001);
    const double step = size.width() / double(values.size() - 1);
    points.reserve(values.size());
    for (qsizetype i = 0; i < values.size(); ++i)
        points.append({step * double(i), size.height() * (0.95 - 0.9 * (values[i] - lo) / range)});
    return points;
}

SparklineView::SparklineView(QWidget *parent) : QWidget(parent) {}

void SparklineView::setChartSize(QSize size)
{
    setFixedSize(size.grownBy({inkMargin, inkMargin, inkMargin, inkMargin}));
}

QRectF SparklineView::chartFrame() const
{
    return QRectF(rect()).adjusted(inkMargin, inkMargin, -inkMargin, -inkMargin);
}

void SparklineView::setValues(const QList<double> &values)
{
    if (values == m_values)
        return;
    m_values = values;
    update();
}

void SparklineView::setTone(Tone tone)
{
    if (tone == m_tone)
        return;
    m_tone = tone;
    update();
}

void SparklineView::paintEvent(QPaintEvent *)
{
    const QRectF frame = chartFrame();
    const QList<QPointF> points = sparklinePoints(m_values, frame.size());
    if (points.isEmpty())
        return;
    const QColor color = colorFor(m_tone, palette());
    QPainter painter(this);
    painter.translate(frame.topLeft());
    const double height = frame.height();
    painter.setRenderHint(QPainter::Antialiasing);

    QPainterPath line(points.first());
    for (qsizetype i = 1; i < points.size(); ++i)
        line.lineTo(points[i]);

    QPainterPath area(QPointF(points.first().x(), height));
    area.connectPath(line);
    area.lineTo(points.last().x(), height);
    area.closeSubpath();
    QColor fill = color;
    fill.setAlphaF(0.12f);
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.fillPath(area, fill);
    painter.setRenderHint(QPainter::Antialiasing);

    QPen pen(color, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    pen.setMiterLimit(10);
    painter.strokePath(line, pen);

    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(points.last(), 2.0, 2.0);
}

} // namespace ui
