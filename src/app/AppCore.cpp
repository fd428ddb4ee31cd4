#include "app/AppCore.h"

#include "app/MenuTitle.h"
#include "base/Publish.h"
#include "settings/AppSettings.h"
#include "settings/MireoConfig.h"

#include <QMetaMethod>

AppCore::AppCore(Defaults &defaults, const base::Clock &clock, SecretStore &secrets,
                 Browser &browser, Notifier &notifier, const AuthStore::Endpoints &endpoints,
                 QObject *parent)
    : QObject(parent), m_http(QByteArray(MireoConfig::userAgent)),
      m_pulse(m_http, defaults, clock, endpoints.site),
      m_auth(m_http, defaults, clock, secrets, browser, endpoints),
      m_notifications(notifier, defaults), m_poll(m_auth, clock)
{
    const QMetaMethod relay = QMetaMethod::fromSignal(&AppCore::changed);
    base::connectFieldChanges(m_pulse, this, relay);
    base::connectFieldChanges(m_auth, this, relay);
    base::connectFieldChanges(AppSettings::shared(), this, relay);
}

void AppCore::startAccountCycle()
{
    m_announcing = true;
    m_notifications.requestPermission();
    m_poll.start(MireoConfig::accountPollInterval());
    // The store restores the session by itself at start-up; the first check follows it.
    connect(&m_auth, &AuthStore::restoreFinished, this, &AppCore::checkIfAnnouncer,
            Qt::SingleShotConnection);
    connect(&m_poll, &AccountPoll::accountLoaded, this, &AppCore::checkIfAnnouncer);
}

void AppCore::checkIfAnnouncer()
{
    // Another process announcing now means a later check here, once it has stopped.
    if (m_announcing && m_announcer.tryLock())
        m_notifications.check(m_auth);
}

void AppCore::standDown()
{
    m_announcing = false;
    m_poll.stop();
    m_announcer.unlock();
    if (!m_auth.isRenewing()) {
        Q_EMIT stoodDown();
        return;
    }
    // Cut short, a renewal the service has answered would lose the rotated token.
    connect(&m_auth, &AuthStore::renewalFinished, this, &AppCore::stoodDown,
            Qt::SingleShotConnection);
}

QString AppCore::menuTitle() const
{
    return menuTitleFor(AppSettings::shared().menuMetric(), m_auth.portfolio(),
                        m_pulse.menuTitle());
}
