#include "platform/linux/FreedesktopNotifier.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QPointer>
#include <QTimer>
#include <QVariantMap>
#include <memory>
#include <utility>

namespace {
const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
const QString interface = QStringLiteral("org.freedesktop.Notifications");
const QString appName = QStringLiteral("Mireo Pulse");
const QString appIcon = QStringLiteral("mireo-pulse");
const QString desktopEntry = QStringLiteral("mireo-pulse");
const QString soundName = QStringLiteral("message-new-instant");
constexpr int serverDecidesExpiry = -1;
} // namespace

FreedesktopNotifier::FreedesktopNotifier(QDBusConnection bus, QObject *parent)
    : QObject(parent), m_bus(std::move(bus))
{
    // A restarted server numbers its notifications afresh: our old ids would name someone
    // else's.
    auto *server =
        new QDBusServiceWatcher(service, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(server, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this] { m_serverIds.clear(); });
}

void FreedesktopNotifier::requestPermission(Permissions, std::function<void(bool)> answer)
{
    // A call on a lost bus never reports back at all, so the refusal is ours to give.
    if (!m_bus.isConnected()) {
        QTimer::singleShot(0, this, [answer = std::move(answer)] { answer(false); });
        return;
    }
    // One answer, from whichever comes first: the server's reply, its refusal, or (when there
    // was no server yet, as at a login where we start before the desktop's notification
    // daemon) the server appearing on the bus later.
    struct Pending
    {
        std::function<void(bool)> answer;
        QPointer<QDBusServiceWatcher> arrival;
        void give(bool granted)
        {
            if (!answer)
                return;
            const auto once = std::exchange(answer, nullptr);
            delete arrival;
            once(granted);
        }
    };
    auto pending = std::make_shared<Pending>();
    pending->answer = std::move(answer);
    pending->arrival =
        new QDBusServiceWatcher(service, m_bus, QDBusServiceWatcher::WatchForRegistration, this);
    connect(pending->arrival, &QDBusServiceWatcher::serviceRegistered, this,
            [this, pending] { QTimer::singleShot(0, this, [pending] { pending->give(true); }); });

    const QDBusMessage call = QDBusMessage::createMethodCall(
        service, path, interface, QStringLiteral("GetServerInformation"));
    auto *watcher =
        new QDBusPendingCallWatcher(m_bus.asyncCall(call, int(m_callTimeout.count())), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, pending](QDBusPendingCallWatcher *finished) {
                finished->deleteLater();
                if (!finished->isError()) {
                    pending->give(true);
                    return;
                }
                // A server that is there and fails to answer refuses. No server at all (none
                // yet, or one the bus is still starting, as a desktop's own notification
                // service may be at login) is no answer: its arrival will be.
                const QDBusMessage owned =
                    QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                                   QStringLiteral("/org/freedesktop/DBus"),
                                                   QStringLiteral("org.freedesktop.DBus"),
                                                   QStringLiteral("NameHasOwner"))
                    << service;
                auto *owner = new QDBusPendingCallWatcher(
                    m_bus.asyncCall(owned, int(m_callTimeout.count())), this);
                connect(owner, &QDBusPendingCallWatcher::finished, this,
                        [pending](QDBusPendingCallWatcher *answered) {
                            answered->deleteLater();
                            const QDBusPendingReply<bool> present = *answered;
                            if (!present.isError() && present.value())
                                pending->give(false);
                        });
            });
}

void FreedesktopNotifier::deliver(const Notification &notification)
{
    const auto waiting = m_inFlight.find(notification.identifier);
    if (waiting != m_inFlight.end()) {
        *waiting = notification;
        return;
    }
    send(notification);
}

void FreedesktopNotifier::send(const Notification &notification)
{
    if (!m_bus.isConnected())
        return; // lost, as on a server that fails to show it
    QVariantMap hints{{QStringLiteral("desktop-entry"), desktopEntry}};
    if (notification.defaultSound)
        hints.insert(QStringLiteral("sound-name"), soundName);
    else
        hints.insert(QStringLiteral("suppress-sound"), true);

    QDBusMessage call =
        QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Notify"));
    call << appName << m_serverIds.value(notification.identifier, 0u) << appIcon
         << notification.title << notification.body << QStringList() << hints
         << qint32(serverDecidesExpiry);

    m_inFlight.insert(notification.identifier, std::nullopt);
    auto *watcher =
        new QDBusPendingCallWatcher(m_bus.asyncCall(call, int(m_callTimeout.count())), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, identifier = notification.identifier](QDBusPendingCallWatcher *finished) {
                sent(identifier, finished);
            });
}

void FreedesktopNotifier::sent(const QString &identifier, QDBusPendingCallWatcher *watcher)
{
    watcher->deleteLater();
    const QDBusPendingReply<uint> reply = *watcher;
    if (!reply.isError())
        m_serverIds.insert(identifier, reply.value());
    const std::optional<Notification> next = m_inFlight.take(identifier);
    if (next)
        send(*next);
}
