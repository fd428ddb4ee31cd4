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
class SparklineView : public QWidget
{
    Q_OBJECT
public:
    explicit SparklineView(QWidget *parent = nullptr);

    void setValues(const QList<double> &values);
    void setTone(Tone tone);
    const QList<double> &values() const { return m_values; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QList<double> m_values;
    Tone m_tone = Tone::Gain;
};

} // namespace ui
