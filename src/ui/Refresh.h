#pragma once

#include <QCoroTask>
#include <QPointer>

class AuthStore;
class PulseStore;

namespace ui {

// The public numbers first, then the account: one task, in that order. Either store may go
// away while the other is still refreshing.
QCoro::Task<> refreshPublicThenAccount(QPointer<PulseStore> pulse, QPointer<AuthStore> auth);

} // namespace ui
