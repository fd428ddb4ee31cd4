#include "FuzzCheck.h"
#include "account/AccountRecords.h"

// api/mobile/signals/swing: a decision exists exactly when the server decided, with its symbols.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body = fuzz::bytes(data, size);
    const std::optional<SwingResponse> swing = decodeSwing(body);
    FUZZ_REQUIRE(swing == decodeSwing(body));
    if (!swing)
        return 0;
    const std::optional<TodayDecision> decision = swing->decision();
    FUZZ_REQUIRE(decision.has_value() == swing->decidedAt.has_value());
    if (decision) {
        FUZZ_REQUIRE(decision->decidedAt == *swing->decidedAt);
        FUZZ_REQUIRE(decision->symbols.size() == swing->signals.size());
    }
    return 0;
}
