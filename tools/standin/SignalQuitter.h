#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGINT and SIGTERM into QCoreApplication::quit(). A signal handler may only do
// async-signal-safe work, so it writes a byte to a socket pair that the event loop watches.
class SignalQuitter : public QObject
{
    Q_OBJECT

public:
    explicit SignalQuitter(QObject *parent = nullptr);
    ~SignalQuitter() override;

private:
    static void onSignal(int);
    static inline int s_fds[2] = {-1, -1};
    QSocketNotifier *m_notifier = nullptr;
};
