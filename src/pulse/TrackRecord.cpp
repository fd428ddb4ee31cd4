#include "pulse/TrackRecord.h"

#include "base/CheckedSum.h"
#include "base/Flexible.h"
#include "base/StrictJson.h"

std::optional<double> TrackRecord::returnPct() const
{
    return consolidated ? consolidated->returnPct : std::nullopt;
}

std::optional<double> TrackRecord::vsSpyPct() const
{
    return consolidated ? consolidated->returnVsSpyPct : std::nullopt;
}

qint64 TrackRecord::openPositions() const
{
    return base::sumOfCounts(accounts.value_or(QList<Account>()),
                             [](const Account &account) { return account.positions; });
}

std::optional<QDateTime> TrackRecord::lastUpdateTime() const
{
    return lastUpdate ? base::flexible(*lastUpdate) : std::nullopt;
}

std::optional<TrackRecord> decodeTrackRecord(const QByteArray &body)
{
    const auto root = base::parseObject(body);
    if (!root)
        return std::nullopt;
    base::StrictReader read;
    TrackRecord record;
    record.hasData = read.boolean(*root, "has_data");
    if (const base::Json *consolidated = read.object(*root, "consolidated")) {
        record.consolidated = TrackRecord::Consolidated{
            read.number(*consolidated, "return_pct"),
            read.number(*consolidated, "return_vs_spy_pct"),
            read.number(*consolidated, "total_equity"),
        };
    }
    record.accounts = read.array(*root, "accounts", [&read](const base::Json &value) {
        const base::Json *account = read.object(value);
        return account ? std::optional(TrackRecord::Account{read.integer(*account, "positions")})
                       : std::nullopt;
    });
    record.lastUpdate = read.string(*root, "last_update");
    if (read.failed())
        return std::nullopt;
    return record;
}

std::optional<Stats> decodeStats(const QByteArray &body)
{
    const auto root = base::parseObject(body);
    if (!root)
        return std::nullopt;
    base::StrictReader read;
    Stats stats;
    stats.sparkline = read.array(*root, "sparkline",
                                 [&read](const base::Json &value) { return read.number(value); });
    if (read.failed())
        return std::nullopt;
    return stats;
}
