#include "app/PopoverWindow.h"

#include "app/PanelPlacement.h"
#include "base/FrameTrace.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr qint64 closingClickMs = 300;
const QSize emptySize(340, 300);

bool isXWayland()
{
    return QGuiApplication::platformName() == u"xcb" &&
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

// Catches presses outside the popover and closes it; draws nothing.
class ClickShield : public QWidget
{
public:
    explicit ClickShield(QWidget *popover)
        : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint |
                               Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint),
          m_popover(popover)
    {
        setObjectName(QStringLiteral("PopoverClickShield"));
        setAttribute(Qt::WA_TranslucentBackground);
        setAttribute(Qt::WA_ShowWithoutActivating);
    }

protected:
    void mousePressEvent(QMouseEvent *event) override
    {
        event->accept();
        if (m_popover)
            m_popover->hide();
    }

private:
    QPointer<QWidget> m_popover;
};

} // namespace

PopoverWindow::PopoverWindow(QWidget *parent)
    : QWidget(parent, Qt::Popup | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint)
{
    setObjectName(QStringLiteral("PopoverWindow"));
    auto *layout = new QVBoxLayout(this);
    // Room for the hairline border: popups get no frame from the window manager.
    layout->setContentsMargins(1, 1, 1, 1);
}

PopoverWindow::~PopoverWindow() = default;

void PopoverWindow::setContent(QWidget *content)
{
    delete m_content;
    m_content = content;
    if (content)
        layout()->addWidget(content);
    // With content the window takes its size as it changes, shrinking too (after "Sign out");
    // the top-left corner stays put. Without, it keeps the size it is given.
    layout()->setSizeConstraint(content ? QLayout::SetFixedSize : QLayout::SetDefaultConstraint);
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
    if (m_tracePaint)
        m_sinceShown.start();
    const QSize size = sizeHint();
    resize(size);
    QScreen *screen = QGuiApplication::screenAt(anchor);
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (screen)
        move(PanelPlacement::popoverTopLeft(anchor, size, screen->availableGeometry()));
    if (screen && isXWayland())
        showShield(screen);
    show();
    activateWindow();
    if (m_content)
        m_content->setFocus(Qt::PopupFocusReason);
    Q_EMIT shown();
}

void PopoverWindow::showShield(QScreen *screen)
{
    if (!m_shield)
        m_shield = std::make_unique<ClickShield>(this);
    m_shield->setGeometry(screen->geometry());
    m_shield->show();
}

void PopoverWindow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Window));
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
    if (m_tracePaint && m_sinceShown.isValid()) {
        // The content paints in the same pass; the next turn comes after the frame is out.
        base::traceAfterFrame(this, std::exchange(m_sinceShown, {}), "popover painted");
    }
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
    if (m_shield)
        m_shield->hide();
    QWidget::hideEvent(event);
    // A closed popover gives back its window and the pixels behind it; the view stays built,
    // so reopening only recreates the window.
    QTimer::singleShot(0, this, [this] {
        if (!isVisible())
            destroy();
    });
}
