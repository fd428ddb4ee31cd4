#include "pulse/CycleSchedule.h"

#include <QTimeZone>

namespace CycleSchedule {

namespace {

const QTimeZone &newYork()
{
    static const QTimeZone zone(QByteArrayLiteral("America/New_York"));
    return zone;
}

bool isWeekday(const QDate &date)
{
    return date.dayOfWeek() <= Qt::Friday;
}

} // namespace

bool usMarketOpen(const QDateTime &now)
{
    if (!newYork().isValid() || !now.isValid())
        return false;
    const QDateTime local = now.toTimeZone(newYork());
    if (!isWeekday(local.date()))
        return false;
    const int minute = local.time().hour() * 60 + local.time().minute();
    return minute >= 9 * 60 + 30 && minute < 16 * 60;
}

std::optional<QDateTime> nextTenantCycle(const QDateTime &after)
{
    if (!newYork().isValid() || !after.isValid())
        return std::nullopt;
    const QDate first = after.toTimeZone(newYork()).date();
    // The day of `after` and the seven after it always hold a weekday.
    for (int offset = 0; offset < 8; ++offset) {
        const QDate day = first.addDays(offset);
        const QDateTime cycle(day, QTime(10, 15), newYork());
        if (cycle.isValid() && cycle > after && isWeekday(day))
            return cycle;
    }
    return std::nullopt;
}

} // namespace CycleSchedule
