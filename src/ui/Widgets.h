#pragma once

#include "ui/Format.h"
#include "ui/Palette.h"

#include <QLabel>
#include <QTimer>

// The popover's small building blocks. Sizes are in points; one point is one device-independent
// pixel, so the column keeps its width and proportions whatever the screen's density.
namespace ui {

// The system font at `points`, with the weight and letter spacing (in points) the design asks.
QFont uiFont(int points, QFont::Weight weight = QFont::Normal, double letterSpacing = 0);
// The same, in the monospaced design.
QFont monoFont(int points);

// A text whose colour is resolved from its palette each time it is painted.
class ToneLabel : public QLabel
{
    Q_OBJECT
public:
    ToneLabel(const QString &text, Tone tone, const QFont &font, QWidget *parent = nullptr);
    // Changes what differs, so an unchanged label neither repaints nor asks for a new layout.
    void setLine(const QString &text, Tone tone);
    void setLine(const QString &text) { setLine(text, m_tone); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Tone m_tone;
};

// A status capsule: bold tracked text on a faint wash of its own colour.
class PillView : public QWidget
{
    Q_OBJECT
public:
    PillView(const QString &text, Tone tone, QWidget *parent = nullptr);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }
    void setPill(const QString &text, Tone tone);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_text;
    Tone m_tone;
};

// How old the data is: a green dot and "live · 42s", or "as of 5 minutes ago".
class FreshnessBadgeView : public QWidget
{
    Q_OBJECT
public:
    explicit FreshnessBadgeView(QWidget *parent = nullptr);
    void setFreshness(const Freshness &freshness);
    const Freshness &freshness() const { return m_freshness; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QFont currentFont() const;
    Freshness m_freshness;
};

// A small indeterminate progress spinner; it turns only while visible.
class SpinnerView : public QWidget
{
    Q_OBJECT
public:
    explicit SpinnerView(int size, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    QTimer *m_turn;
    int m_angle = 0;
};

} // namespace ui
