#pragma once

#include "net/HttpClient.h"
#include "pulse/PulseStore.h"

#include <QObject>

class Defaults;
namespace net {
class Clock;
}

// The long-lived services, created in their fixed order. The desktop shell and the headless
// surfaces build exactly this, so what a script sees is what the panel shows.
class AppCore : public QObject
{
    Q_OBJECT
public:
    AppCore(Defaults &defaults, const net::Clock &clock, const QUrl &siteUrl,
            QObject *parent = nullptr);

    net::HttpClient &http() { return m_http; }
    PulseStore &pulse() { return m_pulse; }

    // The menu-bar title; while signed out, the public one.
    QString menuTitle() const { return m_pulse.menuTitle(); }

private:
    // Declared first: outlives the stores whose requests it carries.
    net::HttpClient m_http;
    PulseStore m_pulse;
};
