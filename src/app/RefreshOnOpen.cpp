#include "app/RefreshOnOpen.h"

#include "account/AuthStore.h"
#include "net/Clock.h"
#include "pulse/PulseStore.h"

#include <QPointer>

namespace {

constexpr qint64 freshForMs = 120'000;

} // namespace

bool pulseNeedsRefreshOnOpen(const std::optional<QDateTime> &fetchedAt, const QDateTime &now,
                             bool refreshing)
{
    if (fetchedAt && fetchedAt->msecsTo(now) <= freshForMs)
        return false;
    return !refreshing;
}

QCoro::Task<> refreshOnOpen(PulseStore &pulse, AuthStore &auth, const net::Clock &clock)
{
    if (!pulseNeedsRefreshOnOpen(pulse.fetchedAt(), clock.now(), pulse.refreshing()))
        co_return;
    QPointer<AuthStore> account(&auth);
    co_await pulse.refresh();
    if (account)
        co_await account->loadPortfolio();
}
