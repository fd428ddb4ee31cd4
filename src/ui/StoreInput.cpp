#include "account/AuthStore.h"
#include "pulse/PulseStore.h"
#include "ui/PulseMenuModel.h"

namespace ui {

void readStores(PulseMenuInput &input, const PulseStore &pulse, const AuthStore &auth)
{
    input.returnPct = pulse.returnPct();
    input.vsSpyPct = pulse.vsSpyPct();
    input.openPositions = pulse.openPositions();
    input.sparkline = pulse.sparkline();
    input.lastUpdate = pulse.lastUpdate();
    input.pulseError = pulse.lastError();
    input.refreshing = pulse.refreshing();
    input.fetchedAt = pulse.fetchedAt();

    input.isSignedIn = auth.isSignedIn();
    input.signingIn = auth.signingIn();
    input.portfolio = auth.portfolio();
    input.portfolioAsOf = auth.portfolioAsOf();
    input.todayDecision = auth.todayDecision();
    input.accountError = auth.lastError();
    input.positions = auth.positions();
}

} // namespace ui
