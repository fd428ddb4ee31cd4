#pragma once

#include <QByteArray>
#include <QtGlobal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <optional>

// A property that must hold for every input; a break aborts, so libFuzzer keeps the input.
#define FUZZ_REQUIRE(condition)                                                                    \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "property broken: %s (%s:%d)\n", #condition, __FILE__, __LINE__); \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)

namespace fuzz {

inline QByteArray bytes(const uint8_t *data, size_t size)
{
    return QByteArray(reinterpret_cast<const char *>(data), qsizetype(size));
}

// The exact sum of reported counts, or absent past 64 bits (where the checked sum stops the
// process on purpose, so a harness must not call it).
template <typename Range, typename Count>
std::optional<qint64> exactSum(const Range &items, Count count)
{
    __int128 sum = 0;
    for (const auto &item : items) {
        sum += count(item).value_or(0);
        if (sum > std::numeric_limits<qint64>::max() || sum < std::numeric_limits<qint64>::min())
            return std::nullopt;
    }
    return qint64(sum);
}

} // namespace fuzz
