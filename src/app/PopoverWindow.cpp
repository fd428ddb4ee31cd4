#include "app/PopoverWindow.h"

#include "app/PanelPlacement.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>

namespace {

constexpr qint64 closingClickMs = 300;
const QSize emptySize(340, 300);

} // namespace

PopoverWindow::PopoverWindow(QWidget *parent)
    : QWidget(parent, Qt::Popup | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint)
{
    setObjectName(QStringLiteral("PopoverWindow"));
    auto *layout = new QVBoxLayout(this);
    // Room for the hairline border: popups get no frame from the window manager.
    layout->setContentsMargins(1, 1, 1, 1);
}

void PopoverWindow::setContent(QWidget *content)
{
    delete m_content;
    m_content = content;
    if (content)
        layout()->addWidget(content);
}

QSize PopoverWindow::sizeHint() const
{
    return m_content ? QWidget::sizeHint() : emptySize;
}

void PopoverWindow::toggle(QPoint anchor)
{
    if (isVisible()) {
        hide();
        return;
    }
    if (m_sinceHidden.isValid() && m_sinceHidden.elapsed() < closingClickMs)
        return;
    showAt(anchor);
}

void PopoverWindow::showAt(QPoint anchor)
{
    const QSize size = sizeHint();
    resize(size);
    QScreen *screen = QGuiApplication::screenAt(anchor);
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (screen)
        move(PanelPlacement::popoverTopLeft(anchor, size, screen->availableGeometry()));
    show();
    activateWindow();
    if (m_content)
        m_content->setFocus(Qt::PopupFocusReason);
    Q_EMIT shown();
}

void PopoverWindow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Window));
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void PopoverWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape) {
        hide();
        return;
    }
    QWidget::keyPressEvent(event);
}

void PopoverWindow::hideEvent(QHideEvent *event)
{
    m_sinceHidden.start();
    QWidget::hideEvent(event);
}
