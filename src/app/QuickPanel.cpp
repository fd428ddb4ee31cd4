#include "app/QuickPanel.h"

#include "app/PanelPlacement.h"
#include "ui/ConfirmationSheet.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

namespace {

const QSize emptySize(340, 300);
// The panel floats over whatever is behind it: mostly opaque, so the numbers stay legible.
constexpr int backgroundAlpha = 235;

} // namespace

QuickPanel::QuickPanel(QWidget *parent)
    : QWidget(parent, Qt::Tool | Qt::WindowStaysOnTopHint | Qt::FramelessWindowHint)
{
    setObjectName(QStringLiteral("QuickPanel"));
    setAttribute(Qt::WA_TranslucentBackground);
    setFocusPolicy(Qt::StrongFocus);
    // What is drawn over the whole panel (a confirmation's dimming) keeps to its corners.
    setProperty(ui::ConfirmationSheet::cornerRadiusProperty, cornerRadius);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    resize(emptySize);
}

void QuickPanel::setContent(QWidget *content)
{
    delete m_content;
    m_content = content;
    if (content)
        layout()->addWidget(content);
    // With content the window takes its size as it changes, shrinking too (after "Sign out");
    // the top-left corner stays put. Without, it keeps the size it is given.
    layout()->setSizeConstraint(content ? QLayout::SetFixedSize : QLayout::SetDefaultConstraint);
}

QSize QuickPanel::sizeHint() const
{
    return m_content ? QWidget::sizeHint() : emptySize;
}

void QuickPanel::toggle()
{
    if (isVisible()) {
        hide();
        return;
    }
    m_grip.reset();
    // Without a screen the panel keeps its last size and place.
    if (const QScreen *screen = QGuiApplication::primaryScreen()) {
        const QSize size = sizeHint();
        resize(size);
        move(PanelPlacement::quickPanelTopLeft(screen->availableGeometry(), size));
    }
    show();
    raise();
    activateWindow();
    if (m_content)
        m_content->setFocus(Qt::ActiveWindowFocusReason);
    else
        setFocus(Qt::ActiveWindowFocusReason);
    // An open popover keeps every key to itself; the panel shown over it takes them.
    if (QApplication::activePopupWidget())
        grabKeyboard();
    Q_EMIT shown();
}

bool QuickPanel::event(QEvent *event)
{
    // Keys it holds arrive at the panel itself: they go on to the control with the focus, and
    // come back here (Escape) only when that leaves them.
    const bool key = event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease;
    if (key && keyboardGrabber() == this && !m_passingKeyOn) {
        QWidget *focused = focusWidget();
        if (focused && focused != this) {
            m_passingKeyOn = true;
            QCoreApplication::sendEvent(focused, event);
            m_passingKeyOn = false;
            return true;
        }
    }
    return QWidget::event(event);
}

void QuickPanel::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    if (keyboardGrabber() != this)
        return;
    releaseKeyboard();
    // The popover under it has the keys again, as when it opened.
    if (QWidget *popup = QApplication::activePopupWidget(); popup && popup->windowHandle())
        popup->windowHandle()->setKeyboardGrabEnabled(true);
}

void QuickPanel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor fill = palette().color(QPalette::Window);
    fill.setAlpha(backgroundAlpha);
    QPainterPath shape;
    shape.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
    painter.fillPath(shape, fill);
    painter.setPen(QPen(palette().color(QPalette::Mid), 1));
    painter.drawPath(shape);
}

void QuickPanel::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        hide();
        return;
    }
    QWidget::keyPressEvent(event);
}

void QuickPanel::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    // Only a loss of focus after the panel had it: showing it must not count as losing it.
    if (event->type() == QEvent::ActivationChange && isVisible() && !isActiveWindow())
        hide();
}

// Presses that no control takes (labels, the background) reach the panel: they move it.
void QuickPanel::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    event->accept();
    // The window manager moves it where there is one that can; otherwise we follow the pointer.
    if (windowHandle() && windowHandle()->startSystemMove())
        return;
    m_grip = event->globalPosition().toPoint() - frameGeometry().topLeft();
}

void QuickPanel::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_grip) {
        QWidget::mouseMoveEvent(event);
        return;
    }
    event->accept();
    move(event->globalPosition().toPoint() - *m_grip);
}

void QuickPanel::mouseReleaseEvent(QMouseEvent *event)
{
    if (!m_grip || event->button() != Qt::LeftButton) {
        QWidget::mouseReleaseEvent(event);
        return;
    }
    event->accept();
    m_grip.reset();
}
