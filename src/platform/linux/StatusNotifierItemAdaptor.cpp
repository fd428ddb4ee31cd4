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
    // The first line heads the tool tip; the rest is markup that both Pango (waybar, GTK
    // panels) and Qt's rich text (Plasma) read alike: escaped text in one <span>, lines parted
    // by U+2029, which both take as a paragraph break where Qt would fold a newline and Pango
    // refuses <br/>.
    const QString text = m_item->toolTip();
    const qsizetype end = text.indexOf(u'\n');
    const QString title = end < 0 ? text : text.first(end);
    QString body = end < 0 ? QString() : text.sliced(end + 1).toHtmlEscaped();
    body.replace(u'\n', QChar::ParagraphSeparator);
    return {{},
            {},
            title.isEmpty() ? QStringLiteral("Mireo Pulse") : title,
            body.isEmpty() ? body : QStringLiteral("<span>") + body + QStringLiteral("</span>")};
}

QString StatusNotifierItemAdaptor::labelGuide() const
{
    return QLatin1StringView(StatusNotifierItem::labelGuide);
}

QDBusObjectPath StatusNotifierItemAdaptor::menu() const
{
    return QDBusObjectPath(QLatin1StringView(StatusNotifierItem::menuPath));
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
