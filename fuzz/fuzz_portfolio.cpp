#include "FuzzCheck.h"
#include "account/AccountRecords.h"

#include <cmath>

// api/mobile/portfolio, also the cached bytes read back at start-up.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body = fuzz::bytes(data, size);
    const std::optional<Portfolio> portfolio = decodePortfolio(body);
    FUZZ_REQUIRE(portfolio == decodePortfolio(body));
    if (!portfolio)
        return 0;
    // The count is exact whenever it fits; past 64 bits the checked sum stops on purpose.
    if (const auto sum =
            fuzz::exactSum(portfolio->accounts, [](const Account &a) { return a.positions; }))
        FUZZ_REQUIRE(portfolio->openPositions() == *sum);
    for (const Account &account : portfolio->accounts) {
        FUZZ_REQUIRE(!account.equity || std::isfinite(*account.equity));
        FUZZ_REQUIRE(!account.todayPnl || std::isfinite(*account.todayPnl));
    }
    if (portfolio->totals) {
        for (const auto &value :
             {portfolio->totals->equity, portfolio->totals->todayPnl, portfolio->totals->baseline})
            FUZZ_REQUIRE(!value || std::isfinite(*value));
    }
    return 0;
}
