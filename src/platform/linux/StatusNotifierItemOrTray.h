#pragma once

#include "app/StatusItem.h"

#include <QDBusConnection>
#include <memory>

// Which panel item fits this desktop.
enum class StatusItemKind { StatusNotifierItem, TrayIcon };

// A StatusNotifierWatcher means a panel that shows text: use it. Without one, an XEmbed tray
// still shows an icon. With neither, the item waits on the bus for a panel that starts later;
// the app runs either way.
StatusItemKind chooseStatusItemKind(bool watcherPresent, bool trayAvailable);

bool statusNotifierWatcherPresent(const QDBusConnection &bus);

// The item for the session this process runs in. Needs a QApplication.
std::unique_ptr<StatusItem>
createDesktopStatusItem(const QDBusConnection &bus = QDBusConnection::sessionBus());
