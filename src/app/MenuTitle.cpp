#include "app/MenuTitle.h"

#include "base/FixedDecimal.h"

#include <cmath>

namespace {

// Whole dollars, no grouping, the sign in front of the "$": "M -$125".
QString dollars(double value)
{
    return QStringLiteral("M ") + (value >= 0 ? u'+' : u'-') + u'$' +
           base::fixedDecimal(std::fabs(value), 0);
}

// Equity against a positive baseline, or nothing.
std::optional<std::pair<double, double>> equityAndBaseline(const std::optional<Totals> &totals)
{
    if (!totals || !totals->equity || !totals->baseline || !(*totals->baseline > 0))
        return std::nullopt;
    return std::pair(*totals->equity, *totals->baseline);
}

} // namespace

QString menuTitleFor(const QString &metric, const std::optional<Portfolio> &portfolio,
                     const QString &publicTitle)
{
    const std::optional<Totals> totals = portfolio ? portfolio->totals : std::nullopt;
    if (metric == u"pct") {
        if (const auto pair = equityAndBaseline(totals)) {
            const double pct = (pair->first / pair->second - 1) * 100;
            return QStringLiteral("M ") + (pct >= 0 ? QStringLiteral("+") : QString()) +
                   base::fixedDecimal(pct, 2) + u'%';
        }
    } else if (metric == u"pnl") {
        if (totals && totals->todayPnl)
            return dollars(*totals->todayPnl);
    } else if (metric == u"pnlTotal") {
        if (const auto pair = equityAndBaseline(totals))
            return dollars(pair->first - pair->second);
    }
    return publicTitle;
}
