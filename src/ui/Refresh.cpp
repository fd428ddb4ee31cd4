#include "ui/Refresh.h"

#include "account/AuthStore.h"
#include "pulse/PulseStore.h"

namespace ui {

QCoro::Task<> refreshPublicThenAccount(QPointer<PulseStore> pulse, QPointer<AuthStore> auth)
{
    if (pulse)
        co_await pulse->refresh();
    if (auth)
        co_await auth->loadPortfolio();
}

} // namespace ui
