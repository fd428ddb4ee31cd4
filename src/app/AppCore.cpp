#include "app/AppCore.h"

#include "app/MenuTitle.h"
#include "settings/AppSettings.h"
#include "settings/MireoConfig.h"

AppCore::AppCore(Defaults &defaults, const net::Clock &clock, SecretStore &secrets,
                 Browser &browser, const AuthStore::Endpoints &endpoints, QObject *parent)
    : QObject(parent), m_http(QByteArray(MireoConfig::userAgent)),
      m_pulse(m_http, defaults, clock, endpoints.site),
      m_auth(m_http, defaults, clock, secrets, browser, endpoints)
{
}

QString AppCore::menuTitle() const
{
    return menuTitleFor(AppSettings::shared().menuMetric(), m_auth.portfolio(),
                        m_pulse.menuTitle());
}
