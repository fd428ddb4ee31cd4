#include "FuzzCheck.h"
#include "pulse/TrackRecord.h"

#include <cmath>

// api/public/track-record: never crashes, decodes the same twice, and what it keeps is sane.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body = fuzz::bytes(data, size);
    const std::optional<TrackRecord> record = decodeTrackRecord(body);
    FUZZ_REQUIRE(record == decodeTrackRecord(body));
    if (!record)
        return 0;
    for (const auto &value : {record->returnPct(), record->vsSpyPct()})
        FUZZ_REQUIRE(!value || std::isfinite(*value));
    const auto accounts = record->accounts.value_or(QList<TrackRecord::Account>());
    if (const auto sum = fuzz::exactSum(accounts, [](const auto &a) { return a.positions; }))
        FUZZ_REQUIRE(record->openPositions() == *sum);
    if (const auto when = record->lastUpdateTime())
        FUZZ_REQUIRE(when->isValid() && when->timeSpec() == Qt::UTC);
    return 0;
}
