#include "FuzzCheck.h"
#include "base/Flexible.h"

// The one timestamp parser: what it accepts is a valid UTC instant that survives being written
// back the way this program writes timestamps.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(fuzz::bytes(data, size));
    const std::optional<QDateTime> parsed = base::flexible(text);
    FUZZ_REQUIRE(parsed == base::flexible(text));
    if (!parsed)
        return 0;
    FUZZ_REQUIRE(parsed->isValid() && parsed->timeSpec() == Qt::UTC);
    // An offset can carry an instant out of four-digit years, where writing it back cannot
    // keep the shape; within them the text survives.
    const int year = parsed->date().year();
    if (year >= 1 && year <= 9999)
        FUZZ_REQUIRE(base::flexible(base::isoUtcMillis(*parsed)) == parsed);
    return 0;
}
