#include "app/DesktopHotKey.h"

#include "app/FirstRun.h"
#include "base/AppNames.h"
#include "notify/Notifier.h"
#include "platform/linux/PortalHotKey.h"
#include "platform/linux/X11HotKey.h"
#include "settings/L.h"
#include "settings/SettingsKeys.h"

#include <QDBusConnection>

namespace {

bool isWaylandSession()
{
    return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           qEnvironmentVariable("XDG_SESSION_TYPE") == u"wayland";
}

} // namespace

DesktopHotKey::DesktopHotKey(Notifier &notifier, Defaults &defaults, QObject *parent)
    : QObject(parent), m_notifier(notifier), m_defaults(defaults)
{
}

void DesktopHotKey::start()
{
    if (!isWaylandSession()) {
        use(X11HotKey::create(this));
        return;
    }
    // Never both at once: under XWayland one press would reach both and toggle twice.
    auto *portal = new PortalHotKey(QDBusConnection::sessionBus(),
                                    L::text("Show or hide the Mireo Pulse quick panel",
                                            "Mostrar ou esconder o painel rápido do Mireo Pulse"),
                                    std::chrono::minutes(2), this);
    connect(portal, &PortalHotKey::finished, this, [this, portal](bool bound) {
        if (bound)
            return;
        portal->deleteLater();
        use(X11HotKey::create(this));
        tellOnce();
    });
    use(portal);
}

void DesktopHotKey::use(HotKey *key)
{
    connect(key, &HotKey::activated, this, &DesktopHotKey::activated);
    key->registerCombination(HotKey::quickPanelCombination);
}

void DesktopHotKey::tellOnce()
{
    if (!firstRun::claimOnce(m_defaults, settings_keys::hotKeyNoticeShown))
        return;
    m_notifier.deliver(
        {QStringLiteral("hot-key-binding"),
         L::text("Give Mireo Pulse a key", "Dá uma tecla ao Mireo Pulse"),
         L::text("This desktop does not let apps have Alt+Shift+K. To open the quick panel with "
                 "a key, bind the command \"" MIREO_EXECUTABLE " " MIREO_URL_SCHEME
                 "://open\" to it in your "
                 "desktop's keyboard settings.",
                 "Este ambiente não deixa as aplicações usar Alt+Shift+K. Para abrir o painel "
                 "rápido com uma tecla, associa-lhe o comando \"" MIREO_EXECUTABLE
                 " " MIREO_URL_SCHEME "://open\" "
                 "nas definições de teclado do teu ambiente."),
         false});
}
