#pragma once

#include <QString>

namespace base {

// `value` with exactly `decimals` digits after a point, whatever the user's locale; rounds as
// printf does (half to even on the binary value) and keeps the sign of negative zero.
QString fixedDecimal(double value, int decimals);

// The shortest text that reads back as exactly `value`, sign of zero included ("-0", "0.1").
QString shortestDecimal(double value);

} // namespace base
