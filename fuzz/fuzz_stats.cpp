#include "FuzzCheck.h"
#include "pulse/TrackRecord.h"

#include <cmath>

// api/public/stats: a decoded series holds finite numbers only.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body = fuzz::bytes(data, size);
    const std::optional<Stats> stats = decodeStats(body);
    FUZZ_REQUIRE(stats == decodeStats(body));
    if (stats && stats->sparkline) {
        for (double value : *stats->sparkline)
            FUZZ_REQUIRE(std::isfinite(value));
    }
    return 0;
}
