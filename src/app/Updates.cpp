#include "app/Updates.h"

#include "account/Browser.h"
#include "app/Appcast.h"
#include "base/Publish.h"
#include "net/HttpClient.h"
#include "settings/L.h"

#include <QPointer>

QUrl appcastUrl(const QUrl &siteUrl)
{
    if (MIREO_APPCAST_OVERRIDE && qEnvironmentVariableIsSet("MIREO_APPCAST_URL")) {
        const QUrl url(qEnvironmentVariable("MIREO_APPCAST_URL"), QUrl::StrictMode);
        if (url.isValid() && !url.host().isEmpty())
            return url;
    }
    return siteUrl.resolved(QUrl(QStringLiteral("appcast.xml")));
}

UpdateChecker::UpdateChecker(net::HttpClient &http, Browser &browser, QUrl feed,
                             QString currentVersion, QObject *parent)
    : QObject(parent), m_http(http), m_browser(browser), m_feed(std::move(feed)),
      m_currentVersion(std::move(currentVersion))
{
    connect(&m_timer, &QTimer::timeout, this, [this] {
        m_timer.setInterval(m_interval);
        check(Asker::Schedule);
    });
}

QString UpdateChecker::downloadActionText()
{
    return L::text("Open the download page", "Abrir a p\u00E1gina de transfer\u00EAncia");
}

QCoro::Task<> UpdateChecker::checkNow()
{
    return check(Asker::User);
}

void UpdateChecker::startScheduledChecks(std::chrono::milliseconds first,
                                         std::chrono::milliseconds interval)
{
    m_interval = interval;
    // A daily check may come a second late, and so wakes nobody early; a whole-second timer
    // would round a shorter period down to nothing and check without pause.
    m_timer.setTimerType(std::min(first, interval) >= std::chrono::seconds(1) ? Qt::VeryCoarseTimer
                                                                              : Qt::CoarseTimer);
    m_timer.start(first);
}

void UpdateChecker::openDownloadPage()
{
    if (m_downloadPage)
        m_browser.open(*m_downloadPage);
}

QCoro::Task<> UpdateChecker::check(Asker asker)
{
    QPointer<UpdateChecker> self(this);
    setInFlight(m_inFlight + 1);
    const net::HttpResponse response = co_await m_http.get(m_feed, requestTimeout);
    if (!self)
        co_return;
    setInFlight(m_inFlight - 1);

    const std::optional<AppcastRelease> newest =
        response.ok ? parseAppcast(response.body) : std::nullopt;
    if (!newest) {
        if (asker == Asker::User)
            Q_EMIT notice({L::text("offline \u2014 could not check for updates",
                                   "offline \u2014 n\u00E3o foi poss\u00EDvel procurar "
                                   "atualiza\u00E7\u00F5es"),
                           std::nullopt});
        co_return;
    }

    if (compareVersions(newest->version, m_currentVersion) <= 0) {
        setAvailableVersion(std::nullopt);
        setDownloadPage(std::nullopt);
        if (asker == Asker::User)
            Q_EMIT notice({L::text("You have the latest version (%1).",
                                   "Tens a vers\u00E3o mais recente (%1).")
                               .arg(m_currentVersion),
                           std::nullopt});
        co_return;
    }

    setAvailableVersion(newest->displayVersion);
    setDownloadPage(newest->page);
    if (asker == Asker::Schedule && m_announcedVersion == newest->version)
        co_return;
    if (asker == Asker::Schedule)
        m_announcedVersion = newest->version;
    Q_EMIT notice({L::text("Version %1 is available.", "J\u00E1 est\u00E1 dispon\u00EDvel a "
                                                       "vers\u00E3o %1.")
                       .arg(newest->displayVersion),
                   newest->page});
}

void UpdateChecker::setInFlight(int count)
{
    const bool wasChecking = checking();
    m_inFlight = count;
    if (wasChecking != checking())
        Q_EMIT checkingChanged();
}

void UpdateChecker::setAvailableVersion(const std::optional<QString> &value)
{
    base::publish(this, m_availableVersion, value, &UpdateChecker::availableVersionChanged);
}

void UpdateChecker::setDownloadPage(const std::optional<QUrl> &value)
{
    base::publish(this, m_downloadPage, value, &UpdateChecker::downloadPageChanged);
}
