#include "PublicRoutes.h"

#include "Cents.h"
#include "DemoBook.h"
#include "Router.h"

#include <QJsonArray>
#include <array>

using namespace Qt::StringLiterals;

namespace standin {

namespace {

struct Account
{
    const char16_t *name;
    double share; // of the consolidated equity
};

constexpr std::array<Account, DemoBook::kAccounts> kAccounts{{
    {u"Core Growth", 0.5},
    {u"Momentum", 0.3},
    {u"Income", 0.2},
}};

} // namespace

QJsonObject trackRecordJson(const DemoBook &book)
{
    const DemoBook::Point point = book.point();
    const double equity = book.totalEquity();
    QJsonArray accounts;
    for (std::size_t i = 0; i < kAccounts.size(); ++i) {
        accounts.append(QJsonObject{{u"name"_s, QString::fromUtf16(kAccounts[i].name)},
                                    {u"equity"_s, cents(equity * kAccounts[i].share)},
                                    {u"positions"_s, point.positions[i]}});
    }
    const QJsonObject consolidated{{u"return_pct"_s, cents(point.returnPct)},
                                   {u"return_vs_spy_pct"_s, cents(point.returnVsSpyPct)},
                                   {u"total_equity"_s, cents(equity)}};
    return QJsonObject{{u"has_data"_s, true},
                       {u"consolidated"_s, consolidated},
                       {u"accounts"_s, accounts},
                       {u"last_update"_s, book.lastUpdate().toString(Qt::ISODateWithMs)}};
}

QJsonObject statsJson(const DemoBook &book)
{
    QJsonArray sparkline;
    for (const double value : book.recentReturns())
        sparkline.append(cents(value));
    return QJsonObject{{u"sparkline"_s, sparkline}};
}

void addPublicRoutes(Router &router, const DemoBook &book)
{
    router.add(u"GET"_s, u"/api/public/track-record"_s,
               [&book](const Request &) { return Reply::json(trackRecordJson(book)); });
    router.add(u"GET"_s, u"/api/public/stats"_s,
               [&book](const Request &) { return Reply::json(statsJson(book)); });
}

} // namespace standin
