#include "app/RefreshOnOpen.h"

#include "account/AuthStore.h"
#include "app/ShellRules.h"
#include "base/Clock.h"
#include "pulse/PulseStore.h"

#include <QPointer>

QCoro::Task<> refreshOnOpen(PulseStore &pulse, AuthStore &auth, const base::Clock &clock)
{
    if (!ShellRules::refreshesOnOpen(pulse.fetchedAt(), pulse.refreshing(), clock.now()))
        co_return;
    QPointer<AuthStore> account(&auth);
    co_await pulse.refresh();
    if (account)
        co_await account->loadPortfolio();
}
