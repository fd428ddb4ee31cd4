#pragma once

#include <QCoroTask>
#include <QDateTime>
#include <optional>

class AuthStore;
class PulseStore;
namespace net {
class Clock;
}

// Opening the popover or the quick panel refreshes numbers older than two minutes, unless a
// refresh is already running.
bool pulseNeedsRefreshOnOpen(const std::optional<QDateTime> &fetchedAt, const QDateTime &now,
                             bool refreshing);

// The public numbers first, then the account, one after the other. The surface is already
// showing; it updates as the stores publish.
QCoro::Task<> refreshOnOpen(PulseStore &pulse, AuthStore &auth, const net::Clock &clock);
