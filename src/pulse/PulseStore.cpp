#include "pulse/PulseStore.h"

#include "base/Clock.h"
#include "base/FixedDecimal.h"
#include "base/Publish.h"
#include "net/HttpClient.h"
#include "pulse/TrackRecord.h"
#include "settings/Defaults.h"
#include "settings/L.h"
#include "settings/SettingsKeys.h"

#include <QPointer>

namespace {
const QString fetchedAtKey = settings_keys::pulseFetchedAt;
const QString returnPctKey = settings_keys::pulseReturnPct;
const QString vsSpyKey = settings_keys::pulseVsSpy;
const QString positionsKey = settings_keys::pulsePositions;
const QString lastUpdateKey = settings_keys::pulseLastUpdate;
} // namespace

PulseStore::PulseStore(net::HttpClient &http, Defaults &defaults, const base::Clock &clock,
                       const QUrl &siteUrl, QObject *parent)
    : QObject(parent), m_http(http), m_defaults(defaults), m_clock(clock),
      m_endpoint(siteUrl.resolved(QUrl(QStringLiteral("api/public/track-record")))),
      m_statsEndpoint(siteUrl.resolved(QUrl(QStringLiteral("api/public/stats"))))
{
    restoreCache();
    // The first refresh starts on the next turn, once whoever created the store is listening.
    QTimer::singleShot(0, this, [this] { refresh(); });
    m_timer.setInterval(refreshInterval);
    connect(&m_timer, &QTimer::timeout, this, [this] { refresh(); });
    m_timer.start();
}

QString PulseStore::titleFor(std::optional<double> returnPct)
{
    if (!returnPct)
        return QStringLiteral("M\u00B7");
    // Negative zero is not below zero, so it keeps the plus and shows its own minus: "+-0.0".
    const QString sign = *returnPct >= 0 ? QStringLiteral("+") : QString();
    return QStringLiteral("M ") + sign + base::fixedDecimal(*returnPct, 1) + QLatin1Char('%');
}

QCoro::Task<> PulseStore::refresh()
{
    QPointer<PulseStore> self(this);
    setRefreshing(true);
    const net::HttpResponse response = co_await m_http.get(m_endpoint, trackRecordTimeout);
    if (!self)
        co_return;

    const std::optional<TrackRecord> record =
        response.ok ? decodeTrackRecord(response.body) : std::nullopt;
    if (!record) {
        setLastError(m_returnPct ? L::text("offline \u2014 showing last known numbers",
                                           "offline \u2014 a mostrar os \u00FAltimos n\u00FAmeros")
                                 : QStringLiteral("offline"));
        finishRefresh();
        co_return;
    }
    if (!record->hasData.value_or(false)) {
        setLastError(L::text("building the record", "livro em constru\u00E7\u00E3o"));
        finishRefresh();
        co_return;
    }

    setReturnPct(record->returnPct());
    setVsSpyPct(record->vsSpyPct());
    setOpenPositions(record->openPositions());
    setLastUpdate(record->lastUpdateTime());
    setFetchedAt(m_clock.now());
    setLastError(std::nullopt);
    saveCache();

    co_await refreshSparkline();
    if (self)
        finishRefresh();
}

QCoro::Task<> PulseStore::refreshSparkline()
{
    QPointer<PulseStore> self(this);
    const net::HttpResponse response = co_await m_http.get(m_statsEndpoint, statsTimeout);
    if (!self || !response.ok)
        co_return;
    const std::optional<Stats> stats = decodeStats(response.body);
    if (!stats || !stats->sparkline || stats->sparkline->size() < 3)
        co_return;
    setSparkline(stats->sparkline->size() > sparklineLength
                     ? stats->sparkline->sliced(stats->sparkline->size() - sparklineLength)
                     : *stats->sparkline);
}

void PulseStore::finishRefresh()
{
    setRefreshing(false);
    Q_EMIT refreshFinished();
}

void PulseStore::saveCache()
{
    m_defaults.setDate(fetchedAtKey, m_fetchedAt);
    m_defaults.setNumber(returnPctKey, m_returnPct);
    m_defaults.setNumber(vsSpyKey, m_vsSpyPct);
    m_defaults.setInteger(positionsKey, m_openPositions);
    m_defaults.setDate(lastUpdateKey, m_lastUpdate);
}

void PulseStore::restoreCache()
{
    // Without the time of the fetch the numbers could not be dated, so nothing is shown.
    const auto fetchedAt = m_defaults.date(fetchedAtKey);
    if (!fetchedAt)
        return;
    setFetchedAt(fetchedAt);
    setReturnPct(m_defaults.number(returnPctKey));
    setVsSpyPct(m_defaults.number(vsSpyKey));
    setOpenPositions(m_defaults.integer(positionsKey).value_or(0));
    setLastUpdate(m_defaults.date(lastUpdateKey));
}

void PulseStore::setReturnPct(std::optional<double> value)
{
    base::publish(this, m_returnPct, value, &PulseStore::returnPctChanged);
}
void PulseStore::setVsSpyPct(std::optional<double> value)
{
    base::publish(this, m_vsSpyPct, value, &PulseStore::vsSpyPctChanged);
}
void PulseStore::setOpenPositions(qint64 value)
{
    base::publish(this, m_openPositions, value, &PulseStore::openPositionsChanged);
}
void PulseStore::setLastUpdate(const std::optional<QDateTime> &value)
{
    base::publish(this, m_lastUpdate, value, &PulseStore::lastUpdateChanged);
}
void PulseStore::setLastError(const std::optional<QString> &value)
{
    base::publish(this, m_lastError, value, &PulseStore::lastErrorChanged);
}
void PulseStore::setRefreshing(bool value)
{
    base::publish(this, m_refreshing, value, &PulseStore::refreshingChanged);
}
void PulseStore::setFetchedAt(const std::optional<QDateTime> &value)
{
    base::publish(this, m_fetchedAt, value, &PulseStore::fetchedAtChanged);
}
void PulseStore::setSparkline(const QList<double> &value)
{
    base::publish(this, m_sparkline, value, &PulseStore::sparklineChanged);
}
