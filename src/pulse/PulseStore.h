#pragma once

#include <QCoroTask>
#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>
#include <optional>

class Defaults;
namespace base {
class Clock;
}
namespace net {
class HttpClient;
}

// "The pulse": the public book's latest numbers, kept fresh by its own timer and cached so a
// restart, online or not, shows the last known numbers at once.
class PulseStore : public QObject
{
    Q_OBJECT
    Q_PROPERTY(std::optional<double> returnPct READ returnPct NOTIFY returnPctChanged)
    Q_PROPERTY(std::optional<double> vsSpyPct READ vsSpyPct NOTIFY vsSpyPctChanged)
    Q_PROPERTY(qint64 openPositions READ openPositions NOTIFY openPositionsChanged)
    Q_PROPERTY(std::optional<QDateTime> lastUpdate READ lastUpdate NOTIFY lastUpdateChanged)
    Q_PROPERTY(std::optional<QString> lastError READ lastError NOTIFY lastErrorChanged)
    Q_PROPERTY(bool refreshing READ refreshing NOTIFY refreshingChanged)
    Q_PROPERTY(std::optional<QDateTime> fetchedAt READ fetchedAt NOTIFY fetchedAtChanged)
    Q_PROPERTY(QList<double> sparkline READ sparkline NOTIFY sparklineChanged)

public:
    static constexpr std::chrono::seconds refreshInterval{600};
    static constexpr std::chrono::seconds trackRecordTimeout{10};
    static constexpr std::chrono::seconds statsTimeout{8};
    static constexpr qsizetype sparklineLength = 30;

    // Restores the cache, starts the first refresh and arms the refresh timer.
    PulseStore(net::HttpClient &http, Defaults &defaults, const base::Clock &clock,
               const QUrl &siteUrl, QObject *parent = nullptr);

    std::optional<double> returnPct() const { return m_returnPct; }
    std::optional<double> vsSpyPct() const { return m_vsSpyPct; }
    qint64 openPositions() const { return m_openPositions; }
    std::optional<QDateTime> lastUpdate() const { return m_lastUpdate; }
    std::optional<QString> lastError() const { return m_lastError; }
    bool refreshing() const { return m_refreshing; }
    std::optional<QDateTime> fetchedAt() const { return m_fetchedAt; }
    QList<double> sparkline() const { return m_sparkline; }

    // Never fails; the outcome is in the fields. Overlapping calls are allowed: the last
    // response to arrive writes last.
    QCoro::Task<> refresh();

    // The public title: "M +12.3%", or "M·" while there is no number.
    QString menuTitle() const { return titleFor(m_returnPct); }
    static QString titleFor(std::optional<double> returnPct);

Q_SIGNALS:
    void returnPctChanged();
    void vsSpyPctChanged();
    void openPositionsChanged();
    void lastUpdateChanged();
    void lastErrorChanged();
    void refreshingChanged();
    void fetchedAtChanged();
    void sparklineChanged();
    // Emitted when a refresh, its statistics step included, has finished either way.
    void refreshFinished();

private:
    QCoro::Task<> refreshSparkline();
    void finishRefresh();
    void saveCache();
    void restoreCache();

    void setReturnPct(std::optional<double> value);
    void setVsSpyPct(std::optional<double> value);
    void setOpenPositions(qint64 value);
    void setLastUpdate(const std::optional<QDateTime> &value);
    void setLastError(const std::optional<QString> &value);
    void setRefreshing(bool value);
    void setFetchedAt(const std::optional<QDateTime> &value);
    void setSparkline(const QList<double> &value);

    net::HttpClient &m_http;
    Defaults &m_defaults;
    const base::Clock &m_clock;
    const QUrl m_endpoint;
    const QUrl m_statsEndpoint;
    QTimer m_timer;

    std::optional<double> m_returnPct;
    std::optional<double> m_vsSpyPct;
    qint64 m_openPositions = 0;
    std::optional<QDateTime> m_lastUpdate;
    std::optional<QString> m_lastError;
    bool m_refreshing = false;
    std::optional<QDateTime> m_fetchedAt;
    QList<double> m_sparkline;
};
