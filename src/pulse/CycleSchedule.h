#pragma once

#include <QDateTime>
#include <optional>

// US regular trading hours and the service's daily decision cycle, both in New York time.
// No holiday calendar: a weekday holiday counts as a trading day.
namespace CycleSchedule {

// Monday to Friday, 09:30 up to (not including) 16:00 New York time; seconds are ignored.
bool usMarketOpen(const QDateTime &now);

// The next weekday 10:15 New York time strictly after `after`; absent only when the time
// zone cannot be loaded.
std::optional<QDateTime> nextTenantCycle(const QDateTime &after);

} // namespace CycleSchedule
