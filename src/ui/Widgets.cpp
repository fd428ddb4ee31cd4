#include "ui/Widgets.h"

#include <QApplication>
#include <QFontDatabase>
#include <QPainter>
#include <QPainterPath>

namespace ui {

namespace {
constexpr int badgeDot = 5;
constexpr int badgeGap = 3;
constexpr int pillPaddingX = 6;
constexpr int pillPaddingY = 2;
} // namespace

QFont uiFont(int points, QFont::Weight weight, double letterSpacing)
{
    QFont font = QApplication::font();
    font.setPixelSize(points);
    font.setWeight(weight);
    if (letterSpacing != 0)
        font.setLetterSpacing(QFont::AbsoluteSpacing, letterSpacing);
    return font;
}

QFont monoFont(int points)
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPixelSize(points);
    return font;
}

ToneLabel::ToneLabel(const QString &text, Tone tone, const QFont &font, QWidget *parent)
    : QLabel(text, parent), m_tone(tone)
{
    setFont(font);
    setTextFormat(Qt::PlainText);
}

void ToneLabel::setLine(const QString &text, Tone tone)
{
    if (text != this->text())
        setText(text);
    if (tone != m_tone) {
        m_tone = tone;
        update();
    }
}

void ToneLabel::paintEvent(QPaintEvent *)
{
    // The same flags QLabel measures plain text with, so the text fills exactly its size hint.
    QPainter painter(this);
    painter.setPen(colorFor(m_tone, palette()));
    painter.setFont(font());
    const int flags = int(alignment()) | (wordWrap() ? Qt::TextWordWrap : 0) | Qt::TextExpandTabs;
    painter.drawText(contentsRect(), flags, text());
}

PillView::PillView(const QString &text, Tone tone, QWidget *parent)
    : QWidget(parent), m_text(text), m_tone(tone)
{
    setFont(uiFont(8, QFont::Bold, 1));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void PillView::setPill(const QString &text, Tone tone)
{
    if (text == m_text && tone == m_tone)
        return;
    if (text != m_text)
        updateGeometry();
    m_text = text;
    m_tone = tone;
    update();
}

QSize PillView::sizeHint() const
{
    const QFontMetrics metrics(font());
    return {metrics.horizontalAdvance(m_text) + 2 * pillPaddingX,
            metrics.height() + 2 * pillPaddingY};
}

void PillView::paintEvent(QPaintEvent *)
{
    const QColor color = colorFor(m_tone, palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor wash = color;
    wash.setAlphaF(0.15f);
    const QRectF capsule = QRectF(rect());
    painter.setPen(Qt::NoPen);
    painter.setBrush(wash);
    painter.drawRoundedRect(capsule, capsule.height() / 2, capsule.height() / 2);
    painter.setPen(color);
    painter.setFont(font());
    painter.drawText(rect(), Qt::AlignCenter, m_text);
}

FreshnessBadgeView::FreshnessBadgeView(QWidget *parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void FreshnessBadgeView::setFreshness(const Freshness &freshness)
{
    if (freshness == m_freshness)
        return;
    const bool resized =
        freshness.live != m_freshness.live || freshness.text.size() != m_freshness.text.size();
    m_freshness = freshness;
    if (resized)
        updateGeometry();
    update();
}

QFont FreshnessBadgeView::currentFont() const
{
    return m_freshness.live ? monoFont(9) : uiFont(9);
}

QSize FreshnessBadgeView::sizeHint() const
{
    const QFontMetrics metrics(currentFont());
    const int textWidth = metrics.horizontalAdvance(m_freshness.text);
    const int lead = m_freshness.live ? badgeDot + badgeGap : 0;
    return {lead + textWidth, std::max(metrics.height(), badgeDot)};
}

void FreshnessBadgeView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(currentFont());
    QRect textRect = rect();
    if (m_freshness.live) {
        const QColor gain = mireoGain(palette());
        painter.setPen(Qt::NoPen);
        painter.setBrush(gain);
        painter.drawEllipse(QRectF(0, (height() - badgeDot) / 2.0, badgeDot, badgeDot));
        painter.setPen(gain);
        textRect.setLeft(badgeDot + badgeGap);
    } else {
        painter.setPen(colorFor(Tone::Secondary, palette()));
    }
    painter.drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter, m_freshness.text);
}

SpinnerView::SpinnerView(int size, QWidget *parent) : QWidget(parent), m_turn(new QTimer(this))
{
    setFixedSize(size, size);
    m_turn->setInterval(80);
    connect(m_turn, &QTimer::timeout, this, [this] {
        m_angle = (m_angle + 30) % 360;
        update();
    });
}

void SpinnerView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPen pen(colorFor(Tone::Secondary, palette()), std::max(1.5, width() / 7.0));
    pen.setCapStyle(Qt::RoundCap);
    painter.setPen(pen);
    const double inset = pen.widthF() / 2 + 0.5;
    painter.drawArc(QRectF(rect()).adjusted(inset, inset, -inset, -inset), -m_angle * 16, 270 * 16);
}

void SpinnerView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    m_turn->start();
}

void SpinnerView::hideEvent(QHideEvent *event)
{
    m_turn->stop();
    QWidget::hideEvent(event);
}

} // namespace ui
