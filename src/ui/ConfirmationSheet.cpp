#include "ui/ConfirmationSheet.h"

#include "ui/Widgets.h"

#include <QEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QVBoxLayout>

namespace ui {

namespace {

constexpr int cardInset = 12;
constexpr int cardPadding = 14;
constexpr double cardRadius = 10;

// The card's rounded face; the sheet around it only dims.
class Card : public QWidget
{
protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QPainterPath shape;
        shape.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cardRadius, cardRadius);
        painter.fillPath(shape, palette().color(QPalette::Window));
        painter.setPen(QPen(palette().color(QPalette::Mid), 1));
        painter.drawPath(shape);
    }
};

QPushButton *sheetButton(const char *name)
{
    auto *button = new QPushButton;
    button->setObjectName(QString::fromLatin1(name));
    button->setFont(uiFont(11));
    // Return presses the button that has the focus, as Space does; none is the default.
    button->setAutoDefault(true);
    return button;
}

} // namespace

ConfirmationSheet::ConfirmationSheet(QWidget *host)
    : QWidget(host), m_card(new Card),
      m_title(new ToneLabel({}, Tone::Primary, uiFont(13, QFont::DemiBold))),
      m_message(new ToneLabel({}, Tone::Secondary, uiFont(11))), m_confirm(sheetButton("confirm")),
      m_cancel(sheetButton("cancel"))
{
    setObjectName(QStringLiteral("confirmationSheet"));
    m_card->setParent(this);
    m_title->setObjectName(QStringLiteral("title"));
    m_title->setWordWrap(true);
    m_message->setWordWrap(true);

    auto *column = new QVBoxLayout(m_card);
    column->setContentsMargins(cardPadding, cardPadding, cardPadding, cardPadding);
    column->setSpacing(8);
    column->addWidget(m_title);
    column->addWidget(m_message);
    column->addSpacing(4);
    column->addWidget(m_confirm);
    column->addWidget(m_cancel);

    connect(m_confirm, &QPushButton::clicked, this, [this] { answer(true); });
    connect(m_cancel, &QPushButton::clicked, this, [this] { answer(false); });
    host->installEventFilter(this);
    hide();
}

void ConfirmationSheet::setTexts(const Confirmation &texts)
{
    m_title->setText(texts.title);
    m_message->setText(texts.message.value_or(QString()));
    m_message->setVisible(texts.message.has_value());
    m_confirm->setText(texts.confirm);
    m_cancel->setText(texts.cancel);
    if (!isHidden())
        place();
}

void ConfirmationSheet::ask()
{
    if (!isHidden())
        return;
    m_askedFrom = window()->focusWidget();
    place();
    show();
    raise();
    // The keyboard starts on Cancel: a stray Return or Space never changes how the account
    // trades.
    m_cancel->setFocus(Qt::OtherFocusReason);
}

void ConfirmationSheet::answer(bool confirmed)
{
    // One answer per question: a double click on the action does not answer twice.
    if (isHidden())
        return;
    hide();
    // The keyboard goes back where it was (the button that asked), not into the hidden sheet.
    if (m_askedFrom && m_askedFrom->isVisible())
        m_askedFrom->setFocus(Qt::OtherFocusReason);
    else
        parentWidget()->setFocus(Qt::OtherFocusReason);
    Q_EMIT answered(confirmed);
}

void ConfirmationSheet::place()
{
    const QWidget *host = parentWidget();
    setGeometry(host->rect());
    const int width = host->width() - 2 * cardInset;
    QLayout *column = m_card->layout();
    column->activate();
    const int height = column->hasHeightForWidth() ? column->totalHeightForWidth(width)
                                                   : column->totalSizeHint().height();
    m_card->setGeometry(cardInset, cardInset, width,
                        std::min(height, host->height() - 2 * cardInset));
}

bool ConfirmationSheet::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == parentWidget() && event->type() == QEvent::Resize && !isHidden())
        place();
    return QWidget::eventFilter(watched, event);
}

void ConfirmationSheet::paintEvent(QPaintEvent *)
{
    QColor dim = palette().color(QPalette::Window);
    dim.setAlphaF(0.75f);
    QPainter painter(this);
    // A window with rounded corners (the quick panel) says so; the dimming keeps to its shape.
    const double radius = window()->property(cornerRadiusProperty).toDouble();
    if (radius <= 0 || mapTo(window(), QPoint(0, 0)) != QPoint(0, 0)) {
        painter.fillRect(rect(), dim);
        return;
    }
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath shape;
    shape.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    painter.fillPath(shape, dim);
}

bool ConfirmationSheet::focusNextPrevChild(bool)
{
    // Tab and Shift+Tab go from one answer to the other and never leave the sheet.
    (m_cancel->hasFocus() ? m_confirm : m_cancel)->setFocus(Qt::TabFocusReason);
    return true;
}

void ConfirmationSheet::keyPressEvent(QKeyEvent *event)
{
    if (isHidden()) {
        QWidget::keyPressEvent(event);
        return;
    }
    // Escape cancels; any other key that no answer took goes no further than the sheet.
    if (event->key() == Qt::Key_Escape)
        answer(false);
    event->accept();
}

void ConfirmationSheet::mousePressEvent(QMouseEvent *event)
{
    // The content under the sheet is out of reach while it asks.
    event->accept();
}

} // namespace ui
