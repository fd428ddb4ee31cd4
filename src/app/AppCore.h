#pragma once

#include "account/AuthStore.h"
#include "app/AccountPoll.h"
#include "base/AppNames.h"
#include "net/HttpClient.h"
#include "notify/NotificationStore.h"
#include "platform/linux/UserLock.h"
#include "pulse/PulseStore.h"

#include <QObject>

class Browser;
class Notifier;
class Defaults;
class SecretStore;
namespace base {
class Clock;
}

// The long-lived services, created in their fixed order. The desktop shell and the headless
// surfaces build exactly this, so what a script sees is what the panel shows.
class AppCore : public QObject
{
    Q_OBJECT
public:
    AppCore(Defaults &defaults, const base::Clock &clock, SecretStore &secrets, Browser &browser,
            Notifier &notifier, const AuthStore::Endpoints &endpoints, QObject *parent = nullptr);

    net::HttpClient &http() { return m_http; }
    PulseStore &pulse() { return m_pulse; }
    AuthStore &auth() { return m_auth; }
    NotificationStore &notifications() { return m_notifications; }

    // The account's life while the app runs: asks to notify, polls the account every minute
    // (every fifth outside market hours) and checks for news after the launch restore and after
    // every poll. The one-shot surfaces never start it.
    void startAccountCycle();
    // Stops polling and announcing, for a process that hands over to the app: whatever is
    // under way finishes, and stoodDown() follows once no token renewal is.
    void standDown();

    // The panel title for the chosen metric.
    QString menuTitle() const;

Q_SIGNALS:
    void stoodDown();
    // A published field of a store or of the settings changed. Emitted as the change is
    // announced: read the values on the next turn of the event loop.
    void changed();

private:
    // One process per user announces notifications: whoever holds this.
    void checkIfAnnouncer();

    // Declared first: outlives the stores whose requests it carries.
    net::HttpClient m_http;
    PulseStore m_pulse;
    AuthStore m_auth;
    NotificationStore m_notifications;
    AccountPoll m_poll;
    UserLock m_announcer{QLatin1StringView(app_names::executable) +
                         QStringLiteral("-announcer.lock")};
    bool m_announcing = false;
};
