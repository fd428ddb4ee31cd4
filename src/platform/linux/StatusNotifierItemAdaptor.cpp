#include "platform/linux/StatusNotifierItemAdaptor.h"

#include "platform/linux/StatusNotifierItem.h"
#include "platform/linux/StatusNotifierItemIcon.h"

StatusNotifierItemAdaptor::StatusNotifierItemAdaptor(StatusNotifierItem *item)
    : QDBusAbstractAdaptor(item), m_item(item), m_pixmaps(sni::brandDotPixmaps())
{
    // The change signals are ours to send; Qt need not relay property changes.
    setAutoRelaySignals(false);
}

QString StatusNotifierItemAdaptor::id() const
{
    return QLatin1StringView(StatusNotifierItem::id);
}

QString StatusNotifierItemAdaptor::title() const
{
    return m_item->title();
}

QString StatusNotifierItemAdaptor::iconName() const
{
    return m_item->iconName();
}

sni::ToolTip StatusNotifierItemAdaptor::toolTip() const
{
    return {{}, {}, QStringLiteral("Mireo Pulse"), m_item->toolTip()};
}

QString StatusNotifierItemAdaptor::labelGuide() const
{
    return QLatin1StringView(StatusNotifierItem::labelGuide);
}

void StatusNotifierItemAdaptor::Activate(int x, int y)
{
    m_item->activateFromPanel(x, y);
}

// There is one surface: a middle click or a right click opens it as well.
void StatusNotifierItemAdaptor::SecondaryActivate(int x, int y)
{
    m_item->activateFromPanel(x, y);
}

void StatusNotifierItemAdaptor::ContextMenu(int x, int y)
{
    m_item->activateFromPanel(x, y);
}

void StatusNotifierItemAdaptor::Scroll(int, const QString &) {}
