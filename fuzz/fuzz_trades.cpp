#include "FuzzCheck.h"
#include "notify/TradeRecords.h"

#include <cmath>

// api/mobile/trades.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body = fuzz::bytes(data, size);
    const std::optional<TradesResponse> trades = decodeTrades(body);
    FUZZ_REQUIRE(trades == decodeTrades(body));
    if (!trades)
        return 0;
    for (const Trade &trade : trades->trades)
        FUZZ_REQUIRE(!trade.fillPrice || std::isfinite(*trade.fillPrice));
    return 0;
}
