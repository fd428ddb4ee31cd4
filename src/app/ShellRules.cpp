#include "app/ShellRules.h"

namespace ShellRules {

bool pollsAccount(qint64 tick, bool marketOpen)
{
    return marketOpen || tick % closedMarketTickStride == 0;
}

bool refreshesOnOpen(const std::optional<QDateTime> &fetchedAt, bool refreshing,
                     const QDateTime &now)
{
    if (fetchedAt && fetchedAt->msecsTo(now) <= freshForSeconds * 1000)
        return false;
    return !refreshing;
}

} // namespace ShellRules
