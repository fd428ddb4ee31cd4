#pragma once

#include <QtGlobal>

namespace base {

// Adds the counts a service reports, an absent one adding nothing. A sum past 64 bits is
// nonsense no screen could show; stop rather than wrap.
template <typename Range, typename Count> qint64 sumOfCounts(const Range &items, Count count)
{
    qint64 sum = 0;
    for (const auto &item : items) {
        if (__builtin_add_overflow(sum, count(item).value_or(0), &sum))
            qFatal("a count overflows");
    }
    return sum;
}

} // namespace base
