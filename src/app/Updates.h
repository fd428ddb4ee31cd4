#pragma once

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>
#include <chrono>
#include <optional>

class Browser;
namespace net {
class HttpClient;
}

// What an update check has to tell the user, in the language of the moment it was made.
struct UpdateNotice
{
    QString text;
    // Present when a newer version is available: where to get it.
    std::optional<QUrl> downloadPage;
};

// The update feed: MIREO_APPCAST_URL in development builds, else appcast.xml on the site.
QUrl appcastUrl(const QUrl &siteUrl);

// Checks an update feed on demand and once a day. Checks the user asks for always answer; the
// scheduled ones speak only when they find a version newer than ours. A feed that fails in any
// way leaves the published fields as they were.
class UpdateChecker : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool checking READ checking NOTIFY checkingChanged)
    Q_PROPERTY(std::optional<QString> availableVersion READ availableVersion NOTIFY
                   availableVersionChanged)
    Q_PROPERTY(std::optional<QUrl> downloadPage READ downloadPage NOTIFY downloadPageChanged)

public:
    static constexpr std::chrono::seconds requestTimeout{10};
    static constexpr std::chrono::hours checkInterval{24};
    static constexpr std::chrono::minutes firstScheduledCheck{2};

    UpdateChecker(net::HttpClient &http, Browser &browser, QUrl feed, QString currentVersion,
                  QObject *parent = nullptr);

    bool checking() const { return m_inFlight > 0; }
    // The newer version's display name; absent when ours is the newest or nothing is known.
    std::optional<QString> availableVersion() const { return m_availableVersion; }
    std::optional<QUrl> downloadPage() const { return m_downloadPage; }

    // The check-for-updates action: always ends in exactly one notice.
    QCoro::Task<> checkNow();
    // Silent checks, the first `first` from now, then every `interval` (a coarse timer).
    void startScheduledChecks(std::chrono::milliseconds first = firstScheduledCheck,
                              std::chrono::milliseconds interval = checkInterval);
    // Opens the newer version's download page, when there is one.
    void openDownloadPage();

    // The label of the action that opens the download page.
    static QString downloadActionText();

Q_SIGNALS:
    void checkingChanged();
    void availableVersionChanged();
    void downloadPageChanged();
    void notice(const UpdateNotice &notice);

private:
    enum class Asker { User, Schedule };
    QCoro::Task<> check(Asker asker);
    void setInFlight(int count);
    void setAvailableVersion(const std::optional<QString> &value);
    void setDownloadPage(const std::optional<QUrl> &value);

    net::HttpClient &m_http;
    Browser &m_browser;
    const QUrl m_feed;
    const QString m_currentVersion;
    QTimer m_timer;
    std::chrono::milliseconds m_interval = checkInterval;
    int m_inFlight = 0;
    std::optional<QString> m_availableVersion;
    std::optional<QUrl> m_downloadPage;
    // The newest version a scheduled check has already told about, so it is said once.
    QString m_announcedVersion;
};
