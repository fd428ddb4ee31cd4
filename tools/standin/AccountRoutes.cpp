#include "AccountRoutes.h"

#include "AccountState.h"
#include "Cents.h"
#include "ControlReader.h"
#include "DemoBook.h"
#include "Router.h"
#include "SessionTokens.h"

#include <QJsonArray>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace standin {

namespace {

constexpr int kMaxPositions = 8; // the demo book never holds more per account

// The demo user's brokerage accounts follow the public book: the first one in full, the second
// at half its swing. Their position counts are the book's first two accounts'.
struct BrokerageAccount
{
    const char16_t *label;
    const char16_t *environment;
    double baseline;
    double exposure; // how much of the book's return reaches this account
    std::array<const char16_t *, kMaxPositions> symbols;
};

constexpr std::array<BrokerageAccount, 2> kBrokerageAccounts{{
    {u"Swing",
     u"paper",
     18000,
     1.0,
     {u"AAPL", u"MSFT", u"NVDA", u"AMZN", u"GOOGL", u"META", u"JPM", u"COST"}},
    // MSFT again: the same symbol in two accounts is a case the app must keep apart from a bug.
    {u"Core", u"live", 7000, 0.5, {u"SPY", u"QQQ", u"TLT", u"MSFT", u"GLD", u"XOM", u"UNH", u"V"}},
}};

// Spread around the book's move so the positions do not all gain together.
constexpr std::array<double, kMaxPositions> kPlpcSpread{0.052,  -0.018, 0.031, 0.007,
                                                        -0.042, 0.024,  0.013, -0.006};

struct Figures
{
    double equity;
    double todayPnl;
    int positions;
};

// Since start is the book's return; today is its move over the sparkline's window.
Figures figures(const DemoBook &book, std::size_t index)
{
    const BrokerageAccount &account = kBrokerageAccounts[index];
    const double returnPct = book.point().returnPct;
    const double openPct = book.recentReturns().first();
    return {account.baseline * (1 + account.exposure * returnPct / 100),
            account.baseline * account.exposure * (returnPct - openPct) / 100,
            book.point().positions[index]};
}

double fraction(double value)
{
    return std::round(value * 10000) / 10000;
}

QString bearerToken(const Request &request)
{
    const QByteArray authorization = request.header("Authorization");
    constexpr QByteArrayView scheme{"bearer "}; // the scheme's name is case-insensitive
    if (authorization.left(scheme.size()).toLower() != scheme)
        return {};
    return QString::fromLatin1(authorization.mid(scheme.size()));
}

Router::Handler bearerOnly(const SessionTokens &tokens, Router::Handler handler)
{
    return [&tokens, handler = std::move(handler)](const Request &request) {
        const QString token = bearerToken(request);
        if (token.isEmpty())
            return Reply::error(401, u"missing bearer token"_s);
        if (!tokens.isLive(token))
            return Reply::error(401, u"invalid or expired access token"_s);
        return handler(request);
    };
}

Reply setAutoExecution(AccountState &account, const Request &request)
{
    const QByteArray type = request.header("Content-Type").split(';').first().trimmed().toLower();
    if (type != "application/json")
        return Reply::error(400, u"Content-Type must be application/json"_s);
    ControlReader in(request.body, {u"enabled"_s});
    if (!in.value(u"enabled"_s).isBool())
        in.fail(u"enabled must be true or false"_s);
    if (!in.error().isEmpty())
        return Reply::error(400, in.error());
    account.setAutoExecuteEnabled(in.boolean(u"enabled"_s, false));
    return Reply::json(QJsonObject{{u"autoExecuteEnabled"_s, account.autoExecuteEnabled()}});
}

} // namespace

QJsonObject portfolioJson(const DemoBook &book, const AccountState &account)
{
    QJsonArray accounts;
    double equity = 0, todayPnl = 0, baseline = 0;
    for (std::size_t i = 0; i < kBrokerageAccounts.size(); ++i) {
        const Figures f = figures(book, i);
        accounts.append(
            QJsonObject{{u"label"_s, QString::fromUtf16(kBrokerageAccounts[i].label)},
                        {u"environment"_s, QString::fromUtf16(kBrokerageAccounts[i].environment)},
                        {u"equity"_s, cents(f.equity)},
                        {u"todayPnl"_s, cents(f.todayPnl)},
                        {u"positions"_s, f.positions}});
        equity += cents(f.equity);
        todayPnl += cents(f.todayPnl);
        baseline += kBrokerageAccounts[i].baseline;
    }
    const QString status = account.killSwitch()           ? u"halted"_s
                           : account.autoExecuteEnabled() ? u"running"_s
                                                          : u"paused"_s;
    const QJsonObject worker{{u"status"_s, status},
                             {u"autoExecuteEnabled"_s, account.autoExecuteEnabled()},
                             {u"killSwitch"_s, account.killSwitch()},
                             {u"tradingMode"_s, u"swing"_s}};
    return QJsonObject{{u"plan"_s, u"pro"_s},
                       {u"accounts"_s, accounts},
                       {u"totals"_s, QJsonObject{{u"equity"_s, cents(equity)},
                                                 {u"todayPnl"_s, cents(todayPnl)},
                                                 {u"baseline"_s, baseline}}},
                       {u"worker"_s, worker}};
}

QJsonObject positionsJson(const DemoBook &book)
{
    const double move = (book.point().returnPct - book.recentReturns().first()) / 100;
    QJsonArray accounts;
    for (std::size_t i = 0; i < kBrokerageAccounts.size(); ++i) {
        const Figures f = figures(book, i);
        const int n = f.positions;
        QJsonArray positions;
        for (int k = 0; k < n; ++k) {
            // 90 % invested, larger weights first: 5, 4, 3, ... parts of 15 for five positions.
            const double marketValue = 0.9 * f.equity * (n - k) / (n * (n + 1) / 2.0);
            const double plpc = fraction(move + kPlpcSpread[std::size_t(k)]);
            positions.append(QJsonObject{
                {u"symbol"_s, QString::fromUtf16(kBrokerageAccounts[i].symbols[std::size_t(k)])},
                {u"marketValue"_s, cents(marketValue)},
                {u"unrealizedPl"_s, cents(marketValue - marketValue / (1 + plpc))},
                {u"unrealizedPlpc"_s, plpc}});
        }
        accounts.append(QJsonObject{{u"positions"_s, positions}});
    }
    return QJsonObject{{u"accounts"_s, accounts}};
}

QJsonObject swingJson(const AccountState &account)
{
    const AccountState::Decision &decision = account.decision();
    QJsonArray chosen;
    for (const QString &symbol : decision.symbols)
        chosen.append(QJsonObject{{u"symbol"_s, symbol}});
    QJsonObject out{{u"signals"_s, chosen}};
    if (!decision.decidedAt.isNull())
        out.insert(u"decidedAt"_s, decision.decidedAt);
    return out;
}

QJsonObject tradesJson(const AccountState &account)
{
    return QJsonObject{{u"trades"_s, account.trades()}};
}

void addAccountRoutes(Router &router, const DemoBook &book, AccountState &account,
                      const SessionTokens &tokens)
{
    const QString prefix = u"/api/mobile/"_s;
    router.add(u"GET"_s, prefix + u"portfolio"_s, bearerOnly(tokens, [&](const Request &) {
                   return Reply::json(portfolioJson(book, account));
               }));
    router.add(u"GET"_s, prefix + u"positions"_s, bearerOnly(tokens, [&](const Request &) {
                   return Reply::json(positionsJson(book));
               }));
    router.add(u"GET"_s, prefix + u"signals/swing"_s, bearerOnly(tokens, [&](const Request &) {
                   return Reply::json(swingJson(account));
               }));
    router.add(u"GET"_s, prefix + u"trades"_s, bearerOnly(tokens, [&](const Request &) {
                   return Reply::json(tradesJson(account));
               }));
    router.add(
        u"PATCH"_s, prefix + u"auto-execution"_s,
        bearerOnly(tokens, [&account](const Request &r) { return setAutoExecution(account, r); }));
}

} // namespace standin
