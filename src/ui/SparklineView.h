#pragma once

#include "ui/Palette.h"

#include <QList>
#include <QPointF>
#include <QSizeF>
#include <QWidget>

namespace ui {

// Where each value of the series lies in a frame of `size`: oldest on the left edge, newest on
// the right, the highest 5 % below the top and the lowest 5 % above the bottom. Empty for an
// empty series; callers pass at least two values.
QList<QPointF> sparklinePoints(const QList<double> &values, QSizeF size);

// The public book's small equity curve: a faint area, the line and a dot on the latest value.
// The points lie in the chart's frame; the view is larger than that frame by `inkMargin` on
// every side, so the end dot and the line's round caps are drawn whole where they spill past it.
class SparklineView : public QWidget
{
    Q_OBJECT
public:
    // The end dot's radius: nothing drawn reaches further past the frame.
    static constexpr int inkMargin = 2;

    explicit SparklineView(QWidget *parent = nullptr);

    // The frame the points are scaled to; the view takes that size plus the margin.
    void setChartSize(QSize size);
    QRectF chartFrame() const;

    void setValues(const QList<double> &values);
    void setTone(Tone tone);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QList<double> m_values;
    Tone m_tone = Tone::Gain;
};

} // namespace ui
