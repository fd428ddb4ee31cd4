#pragma once

#include <QCoroTask>

class AuthStore;
class PulseStore;
namespace base {
class Clock;
}

// Opening the popover or the quick panel: when ShellRules::refreshesOnOpen says so, the public
// numbers first, then the account, one after the other. The surface is already
// showing; it updates as the stores publish.
QCoro::Task<> refreshOnOpen(PulseStore &pulse, AuthStore &auth, const base::Clock &clock);
