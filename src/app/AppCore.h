#pragma once

#include "account/AuthStore.h"
#include "net/HttpClient.h"
#include "pulse/PulseStore.h"

#include <QObject>

class Browser;
class Defaults;
class SecretStore;
namespace net {
class Clock;
}

// The long-lived services, created in their fixed order. The desktop shell and the headless
// surfaces build exactly this, so what a script sees is what the panel shows.
class AppCore : public QObject
{
    Q_OBJECT
public:
    AppCore(Defaults &defaults, const net::Clock &clock, SecretStore &secrets, Browser &browser,
            const AuthStore::Endpoints &endpoints, QObject *parent = nullptr);

    net::HttpClient &http() { return m_http; }
    PulseStore &pulse() { return m_pulse; }
    AuthStore &auth() { return m_auth; }

    // The panel title for the chosen metric.
    QString menuTitle() const;

Q_SIGNALS:
    // A published field of a store or of the settings changed. Emitted as the change is
    // announced: read the values on the next turn of the event loop.
    void changed();

private:
    void relayChangesOf(QObject &source);

    // Declared first: outlives the stores whose requests it carries.
    net::HttpClient m_http;
    PulseStore m_pulse;
    AuthStore m_auth;
};
