#include "base/FixedDecimal.h"

#include <charconv>

namespace base {

namespace {
// Enough for any double in fixed notation (about 310 integer digits) plus the decimals.
constexpr int bufferSize = 400;

QString text(const char *begin, std::to_chars_result result)
{
    return result.ec == std::errc() ? QString::fromLatin1(begin, result.ptr - begin) : QString();
}
} // namespace

QString fixedDecimal(double value, int decimals)
{
    char buffer[bufferSize];
    return text(buffer, std::to_chars(buffer, buffer + bufferSize, value, std::chars_format::fixed,
                                      decimals));
}

QString shortestDecimal(double value)
{
    char buffer[bufferSize];
    return text(buffer, std::to_chars(buffer, buffer + bufferSize, value));
}

} // namespace base
