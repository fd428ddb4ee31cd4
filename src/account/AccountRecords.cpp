#include "account/AccountRecords.h"

#include "base/CheckedSum.h"
#include "base/StrictJson.h"

#include <algorithm>

namespace {

// Required members: present, non-null and of their type, or the body fails.
template <typename T> std::optional<T> required(base::StrictReader &read, std::optional<T> value)
{
    if (!value)
        read.fail();
    return value;
}

std::optional<Account> decodeAccount(base::StrictReader &read, const base::Json &value)
{
    const base::Json *object = read.object(value);
    if (!object)
        return std::nullopt;
    return Account{read.string(*object, "label"), read.string(*object, "environment"),
                   read.number(*object, "equity"), read.number(*object, "todayPnl"),
                   read.integer(*object, "positions")};
}

std::optional<Position> decodePosition(base::StrictReader &read, const base::Json &value)
{
    const base::Json *object = read.object(value);
    if (!object)
        return std::nullopt;
    const std::optional<QString> symbol = required(read, read.string(*object, "symbol"));
    if (!symbol)
        return std::nullopt;
    return Position{*symbol, read.number(*object, "marketValue"),
                    read.number(*object, "unrealizedPl"), read.number(*object, "unrealizedPlpc")};
}

} // namespace

qint64 Portfolio::openPositions() const
{
    return base::sumOfCounts(accounts, [](const Account &account) { return account.positions; });
}

QList<Position> PositionsResponse::flattened() const
{
    QList<Position> all;
    for (const Account &account : accounts)
        all.append(account.positions);
    return all;
}

std::optional<TodayDecision> SwingResponse::decision() const
{
    if (!decidedAt)
        return std::nullopt;
    TodayDecision decision{*decidedAt, {}};
    for (const Signal &signal : signals)
        decision.symbols.append(signal.symbol);
    return decision;
}

std::optional<Portfolio> decodePortfolio(const QByteArray &body)
{
    const auto root = base::parseObject(body);
    if (!root)
        return std::nullopt;
    base::StrictReader read;
    Portfolio portfolio;
    portfolio.plan = read.string(*root, "plan");
    const auto accounts =
        required(read, read.array(*root, "accounts",
                                  [&read](const base::Json &v) { return decodeAccount(read, v); }));
    if (accounts)
        portfolio.accounts = *accounts;
    if (const base::Json *totals = read.object(*root, "totals"))
        portfolio.totals = Totals{read.number(*totals, "equity"), read.number(*totals, "todayPnl"),
                                  read.number(*totals, "baseline")};
    if (const base::Json *worker = read.object(*root, "worker"))
        portfolio.worker =
            Worker{read.string(*worker, "status"), read.boolean(*worker, "autoExecuteEnabled"),
                   read.boolean(*worker, "killSwitch"), read.string(*worker, "tradingMode")};
    if (read.failed())
        return std::nullopt;
    return portfolio;
}

std::optional<PositionsResponse> decodePositions(const QByteArray &body)
{
    const auto root = base::parseObject(body);
    if (!root)
        return std::nullopt;
    base::StrictReader read;
    const auto accounts =
        required(read, read.array(*root, "accounts", [&read](const base::Json &value) {
            const base::Json *object = read.object(value);
            if (!object)
                return std::optional<PositionsResponse::Account>();
            const auto positions =
                required(read, read.array(*object, "positions", [&read](const base::Json &v) {
                    return decodePosition(read, v);
                }));
            return positions ? std::optional(PositionsResponse::Account{*positions}) : std::nullopt;
        }));
    if (read.failed() || !accounts)
        return std::nullopt;
    return PositionsResponse{*accounts};
}

std::optional<SwingResponse> decodeSwing(const QByteArray &body)
{
    const auto root = base::parseObject(body);
    if (!root)
        return std::nullopt;
    base::StrictReader read;
    SwingResponse swing;
    swing.decidedAt = read.string(*root, "decidedAt");
    const auto signals = required(read, read.array(*root, "signals", [&read](const base::Json &v) {
        const base::Json *object = read.object(v);
        if (!object)
            return std::optional<Signal>();
        const auto symbol = required(read, read.string(*object, "symbol"));
        return symbol ? std::optional(Signal{*symbol}) : std::nullopt;
    }));
    if (read.failed() || !signals)
        return std::nullopt;
    swing.signals = *signals;
    return swing;
}

void sortPositions(QList<Position> &positions)
{
    std::stable_sort(positions.begin(), positions.end(), [](const Position &a, const Position &b) {
        return a.marketValue.value_or(0) > b.marketValue.value_or(0);
    });
}
