#include "platform/linux/StatusNotifierItemOrTray.h"

#include "platform/linux/StatusNotifierItem.h"
#include "platform/linux/TrayIconStatusItem.h"

#include <QDBusConnectionInterface>

StatusItemKind chooseStatusItemKind(bool watcherPresent, bool trayAvailable)
{
    if (!watcherPresent && trayAvailable)
        return StatusItemKind::TrayIcon;
    return StatusItemKind::StatusNotifierItem;
}

bool statusNotifierWatcherPresent(const QDBusConnection &bus)
{
    if (!bus.isConnected() || !bus.interface())
        return false;
    return bus.interface()->isServiceRegistered(
        QLatin1StringView(StatusNotifierItem::watcherService));
}

std::unique_ptr<StatusItem> createDesktopStatusItem(const QDBusConnection &bus)
{
    const bool watcher = statusNotifierWatcherPresent(bus);
    if (chooseStatusItemKind(watcher, QSystemTrayIcon::isSystemTrayAvailable()) ==
        StatusItemKind::TrayIcon)
        return std::make_unique<TrayIconStatusItem>();
    return std::make_unique<StatusNotifierItem>(bus);
}
