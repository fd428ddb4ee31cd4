#pragma once

#include <QDateTime>
#include <optional>

// The shell's rules, apart from the timers and windows that apply them.
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

// Whether the app runs through XWayland: on a Wayland session with X beside it, unless the user
// chose a platform (QT_QPA_PLATFORM or -platform). There, windows go where we put them.
bool routesThroughXWayland(int argc, char *argv[]);

} // namespace ShellRules
