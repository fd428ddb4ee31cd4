#include "app/RefreshOnOpen.h"

#include "account/AuthStore.h"
#include "app/ShellRules.h"
#include "base/Clock.h"
#include "pulse/PulseStore.h"
#include "ui/Refresh.h"

QCoro::Task<> refreshOnOpen(PulseStore &pulse, AuthStore &auth, const base::Clock &clock)
{
    if (ShellRules::refreshesOnOpen(pulse.fetchedAt(), pulse.refreshing(), clock.now()))
        co_await ui::refreshPublicThenAccount(&pulse, &auth);
}
