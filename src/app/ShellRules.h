#pragma once

#include <QDateTime>
#include <optional>

// The shell's timing rules, apart from the timers and windows that apply them.
namespace ShellRules {

inline constexpr int closedMarketTickStride = 5;
inline constexpr qint64 freshForSeconds = 120;

// Whether the poll tick `tick` (1 for the first, counted from launch) reloads the account: every
// tick while the US market is open, every fifth otherwise.
bool pollsAccount(qint64 tick, bool marketOpen);

// Whether opening the popover or the quick panel refreshes: not while the public numbers are at
// most two minutes old, nor while a refresh is under way.
bool refreshesOnOpen(const std::optional<QDateTime> &fetchedAt, bool refreshing,
                     const QDateTime &now);

} // namespace ShellRules
