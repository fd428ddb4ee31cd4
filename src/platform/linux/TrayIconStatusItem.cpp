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

// Qt keeps a copy of the text, so it is worded afresh on every change of the numbers.
void TrayIconStatusItem::showToolTip()
{
    const QString text = toolTip();
    m_icon.setToolTip(text.isEmpty() ? m_title : text);
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
