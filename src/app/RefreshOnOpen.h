#pragma once

#include <QCoroTask>

class AuthStore;
class PulseStore;
namespace base {
class Clock;
}

// Opening the popover or the quick panel refreshes when ShellRules::refreshesOnOpen says so.
// The surface is already showing; it updates as the stores publish.
QCoro::Task<> refreshOnOpen(PulseStore &pulse, AuthStore &auth, const base::Clock &clock);
