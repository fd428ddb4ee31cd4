#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <optional>

// api/mobile/trades, decoded strictly: a wrong type anywhere drops the whole body.

struct Trade
{
    QString symbol;
    std::optional<QString> side;     // as the server spells it
    std::optional<QString> status;   // decoded, never consulted
    std::optional<QString> filledAt; // absent: not a fill
    std::optional<double> fillPrice; // US dollars
    bool operator==(const Trade &) const = default;
};

struct TradesResponse
{
    QList<Trade> trades; // any order
    bool operator==(const TradesResponse &) const = default;
};

std::optional<TradesResponse> decodeTrades(const QByteArray &body);
