#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

// The account endpoints' records, decoded strictly: a wrong type anywhere drops the whole body.

struct Totals
{
    std::optional<double> equity;
    std::optional<double> todayPnl;
    std::optional<double> baseline; // equity at the start; "since start" needs it above 0
    bool operator==(const Totals &) const = default;
};

struct Worker
{
    std::optional<QString> status;
    std::optional<bool> autoExecuteEnabled;
    std::optional<bool> killSwitch;
    std::optional<QString> tradingMode;
    bool operator==(const Worker &) const = default;
};

struct Account
{
    std::optional<QString> label;
    std::optional<QString> environment;
    std::optional<double> equity;
    std::optional<double> todayPnl;
    std::optional<qint64> positions; // a count, not a list
    bool operator==(const Account &) const = default;
};

// api/mobile/portfolio; also what the portfolio cache keeps.
struct Portfolio
{
    std::optional<QString> plan;
    QList<Account> accounts; // empty: no brokerage account connected
    std::optional<Totals> totals;
    std::optional<Worker> worker;
    bool operator==(const Portfolio &) const = default;

    // Summed over the accounts, a missing count adding 0.
    qint64 openPositions() const;
};

struct Position
{
    QString symbol; // also the identity in lists
    std::optional<double> marketValue;
    std::optional<double> unrealizedPl;
    std::optional<double> unrealizedPlpc;
    bool operator==(const Position &) const = default;

    const QString &id() const { return symbol; }
};

// api/mobile/positions.
struct PositionsResponse
{
    struct Account
    {
        QList<Position> positions;
        bool operator==(const Account &) const = default;
    };
    QList<Account> accounts;
    bool operator==(const PositionsResponse &) const = default;

    // Every account's positions, account order then server order.
    QList<Position> flattened() const;
};

struct Signal
{
    QString symbol;
    bool operator==(const Signal &) const = default;
};

// Today's swing decision, derived from the signals response.
struct TodayDecision
{
    QString decidedAt;   // the server's text, compared as text
    QStringList symbols; // empty: decided, no trade today
    bool operator==(const TodayDecision &) const = default;
};

// api/mobile/signals/swing.
struct SwingResponse
{
    std::optional<QString> decidedAt;
    QList<Signal> signals;
    bool operator==(const SwingResponse &) const = default;

    // Absent while no decision exists yet.
    std::optional<TodayDecision> decision() const;
};

std::optional<Portfolio> decodePortfolio(const QByteArray &body);
std::optional<PositionsResponse> decodePositions(const QByteArray &body);
std::optional<SwingResponse> decodeSwing(const QByteArray &body);

// Largest market value first, a missing value counting as 0; equal keys keep their order.
void sortPositions(QList<Position> &positions);
