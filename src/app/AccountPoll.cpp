#include "app/AccountPoll.h"

#include "account/AuthStore.h"
#include "app/ShellRules.h"
#include "base/Clock.h"
#include "pulse/CycleSchedule.h"

#include <QCoroTask>
#include <QPointer>

namespace {

QCoro::Task<> loadThenAnnounce(QPointer<AccountPoll> poll, AuthStore &auth)
{
    co_await auth.loadPortfolio();
    if (poll)
        Q_EMIT poll->accountLoaded();
}

} // namespace

AccountPoll::AccountPoll(AuthStore &auth, const base::Clock &clock, QObject *parent)
    : QObject(parent), m_auth(auth), m_clock(clock)
{
    connect(&m_timer, &QTimer::timeout, this, &AccountPoll::tick);
}

void AccountPoll::start(std::chrono::milliseconds interval)
{
    m_timer.start(interval);
}

void AccountPoll::tick()
{
    ++m_tick;
    if (!ShellRules::pollsAccount(m_tick, CycleSchedule::usMarketOpen(m_clock.now())))
        return;
    // Ticks do not wait for one another: a slow load does not hold the next one back.
    loadThenAnnounce(this, m_auth);
}
