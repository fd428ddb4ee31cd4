#include "platform/linux/TrayIconStatusItem.h"

#include "platform/linux/StatusNotifierItemIcon.h"

#include <QCursor>

TrayIconStatusItem::TrayIconStatusItem(QObject *parent) : StatusItem(parent)
{
    m_icon.setIcon(sni::brandDotIcon());
    connect(&m_icon, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Context)
                    return;
                const std::optional<QRect> where = geometry();
                Q_EMIT activated(where ? where->center() : QCursor::pos());
            });
    m_icon.show();
}

void TrayIconStatusItem::setTitle(const QString &title)
{
    m_title = title;
    showToolTip();
}

void TrayIconStatusItem::setToolTip(const QString &toolTip)
{
    m_toolTip = toolTip;
    showToolTip();
}

void TrayIconStatusItem::showToolTip()
{
    m_icon.setToolTip(m_toolTip.isEmpty() || m_toolTip == m_title
                          ? m_title
                          : m_title + QLatin1Char('\n') + m_toolTip);
}

std::optional<QRect> TrayIconStatusItem::geometry() const
{
    const QRect rect = m_icon.geometry();
    return rect.isValid() ? std::optional(rect) : std::nullopt;
}

bool TrayIconStatusItem::isVisible() const
{
    return m_icon.isVisible() && QSystemTrayIcon::isSystemTrayAvailable();
}
