#pragma once

#include "notify/Notifier.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QTimer>
#include <chrono>

class QDBusPendingCallWatcher;

// Notifications through org.freedesktop.Notifications on the session bus. Every call is
// asynchronous: a server that is missing, hung or crashing costs a refusal or a lost
// notification, never a blocked or broken app.
class FreedesktopNotifier final : public QObject, public Notifier
{
    Q_OBJECT
public:
    static constexpr std::chrono::milliseconds callTimeout{5000};

    explicit FreedesktopNotifier(QDBusConnection bus = QDBusConnection::sessionBus(),
                                 QObject *parent = nullptr);

    // Granted when a notification server answers on the bus; there is no per-app consent. With
    // no server on the bus yet the answer waits for one to appear. A server that answers too
    // slowly refuses for now and is asked again, with growing pauses; every server that appears
    // later is asked again too. Each answer goes to `answer`.
    void requestPermission(Permissions options, std::function<void(bool)> answer) override;
    void deliver(const Notification &notification) override;

    // How long a server may take to answer before the call counts as failed; tests shorten it.
    void setCallTimeout(std::chrono::milliseconds timeout) { m_callTimeout = timeout; }

private:
    void askServer();
    void send(const Notification &notification);
    void sent(const QString &identifier, QDBusPendingCallWatcher *watcher);

    QDBusConnection m_bus;
    std::chrono::milliseconds m_callTimeout = callTimeout;
    std::function<void(bool)> m_answer; // the permission's, for every later answer
    quint64 m_asked = 0;
    QTimer m_askAgain;
    std::chrono::milliseconds m_askAgainAfter{};
    // Our identifier -> the server's id, so the same identifier replaces its notification.
    QHash<QString, uint> m_serverIds;
    // Identifiers whose Notify is in flight, and the newest notification waiting behind it:
    // without its id a second Notify would show a second notification instead of replacing.
    QHash<QString, std::optional<Notification>> m_inFlight;
};
