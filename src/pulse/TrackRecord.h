#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <optional>

// The public book's record as api/public/track-record serves it.
struct TrackRecord
{
    struct Consolidated
    {
        std::optional<double> returnPct;      // percent since start
        std::optional<double> returnVsSpyPct; // percentage points over the S&P 500
        std::optional<double> totalEquity;    // US dollars; checked, not shown
        bool operator==(const Consolidated &) const = default;
    };
    struct Account
    {
        std::optional<qint64> positions;
        bool operator==(const Account &) const = default;
    };

    std::optional<bool> hasData;
    std::optional<Consolidated> consolidated;
    std::optional<QList<Account>> accounts;
    std::optional<QString> lastUpdate; // as sent; see lastUpdateTime()

    bool operator==(const TrackRecord &) const = default;

    std::optional<double> returnPct() const;
    std::optional<double> vsSpyPct() const;
    // Summed over the accounts, an absent count adding nothing.
    qint64 openPositions() const;
    std::optional<QDateTime> lastUpdateTime() const;
};

// api/public/stats.
struct Stats
{
    std::optional<QList<double>> sparkline;
    bool operator==(const Stats &) const = default;
};

// Strict decoding: std::nullopt when the body is not a JSON object or breaks a type rule.
std::optional<TrackRecord> decodeTrackRecord(const QByteArray &body);
std::optional<Stats> decodeStats(const QByteArray &body);
