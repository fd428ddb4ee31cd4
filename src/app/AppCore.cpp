#include "app/AppCore.h"

#include "settings/MireoConfig.h"

AppCore::AppCore(Defaults &defaults, const net::Clock &clock, const QUrl &siteUrl, QObject *parent)
    : QObject(parent), m_http(QByteArray(MireoConfig::userAgent)),
      m_pulse(m_http, defaults, clock, siteUrl)
{
}
