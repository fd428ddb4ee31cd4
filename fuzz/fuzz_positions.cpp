#include "FuzzCheck.h"
#include "account/AccountRecords.h"

// api/mobile/positions: flattening keeps every position; the sort is a stable ordering by value.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body = fuzz::bytes(data, size);
    const std::optional<PositionsResponse> response = decodePositions(body);
    FUZZ_REQUIRE(response == decodePositions(body));
    if (!response)
        return 0;
    qsizetype count = 0;
    for (const auto &account : response->accounts)
        count += account.positions.size();
    const QList<Position> flat = response->flattened();
    FUZZ_REQUIRE(flat.size() == count);

    QList<Position> sorted = flat;
    sortPositions(sorted);
    FUZZ_REQUIRE(sorted.size() == flat.size());
    for (qsizetype i = 1; i < sorted.size(); ++i)
        FUZZ_REQUIRE(sorted[i - 1].marketValue.value_or(0) >= sorted[i].marketValue.value_or(0));
    // Stable: positions of equal value keep their order; and nothing is lost or invented.
    for (qsizetype i = 0; i < flat.size(); ++i)
        FUZZ_REQUIRE(sorted.count(flat[i]) == flat.count(flat[i]));
    return 0;
}
