#pragma once

#include <cmath>

namespace standin {

// The live service sends money in cents and percentages in hundredths; so do we.
inline double cents(double value)
{
    return std::round(value * 100) / 100;
}

} // namespace standin
