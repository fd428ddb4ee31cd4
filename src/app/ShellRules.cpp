#include "app/ShellRules.h"

#include <cstring>

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

bool routesThroughXWayland(int argc, char *argv[])
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "-platform") == 0 || std::strcmp(argv[i], "--platform") == 0)
            return false;
    }
    return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
           !qEnvironmentVariableIsEmpty("DISPLAY") && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM");
}

} // namespace ShellRules
