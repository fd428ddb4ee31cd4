#pragma once

#include <QDateTime>

namespace base {

// The source of "now" for stores and view models, so tests can hold time still or move it.
class Clock
{
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;

    static const Clock &system();
};

} // namespace base
