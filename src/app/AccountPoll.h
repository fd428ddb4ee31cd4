#pragma once

#include <QTimer>

class AuthStore;
namespace base {
class Clock;
}

// The minute poll of the account, by ShellRules::pollsAccount.
class AccountPoll : public QObject
{
    Q_OBJECT
public:
    AccountPoll(AuthStore &auth, const base::Clock &clock, QObject *parent = nullptr);

    void start(std::chrono::milliseconds interval = std::chrono::seconds(60));
    void stop() { m_timer.stop(); }
    qint64 ticks() const { return m_tick; }

Q_SIGNALS:
    // A due tick's portfolio load has finished, whatever its outcome; the notification checks
    // follow it.
    void accountLoaded();

private:
    void tick();

    AuthStore &m_auth;
    const base::Clock &m_clock;
    QTimer m_timer;
    qint64 m_tick = 0;
};
