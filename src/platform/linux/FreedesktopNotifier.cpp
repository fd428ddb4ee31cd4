#include "platform/linux/FreedesktopNotifier.h"

#include "platform/linux/PulseBus.h"

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
const QString appIcon = QString::fromLatin1(app_names::iconName);
// The desktop entry's id, which D-Bus activation makes the bus name.
const QString desktopEntry = QString::fromLatin1(pulse_bus::serviceName);
const QString soundName = QStringLiteral("message-new-instant");
constexpr int serverDecidesExpiry = -1;
constexpr std::chrono::milliseconds firstAskAgain{2000};
constexpr std::chrono::milliseconds lastAskAgain{std::chrono::minutes(10)};
} // namespace

FreedesktopNotifier::FreedesktopNotifier(QDBusConnection bus, QObject *parent)
    : QObject(parent), m_bus(std::move(bus))
{
    // A restarted server numbers its notifications afresh: our old ids would name someone
    // else's. A server that arrives (at login, after ours) is asked at once.
    auto *server =
        new QDBusServiceWatcher(service, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(server, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &, const QString &newOwner) {
                m_serverIds.clear();
                if (m_answer && !newOwner.isEmpty())
                    askServer();
            });
    m_askAgain.setSingleShot(true);
    connect(&m_askAgain, &QTimer::timeout, this, &FreedesktopNotifier::askServer);
}

void FreedesktopNotifier::requestPermission(Permissions, std::function<void(bool)> answer)
{
    // A call on a lost bus never reports back at all, so the refusal is ours to give.
    if (!m_bus.isConnected()) {
        QTimer::singleShot(0, this, [answer = std::move(answer)] { answer(false); });
        return;
    }
    m_answer = std::move(answer);
    m_askAgainAfter = std::max(m_callTimeout, firstAskAgain);
    askServer();
}

void FreedesktopNotifier::askServer()
{
    m_askAgain.stop();
    // Only the newest question's reply answers.
    const quint64 asked = ++m_asked;
    const QDBusMessage call = QDBusMessage::createMethodCall(
        service, path, interface, QStringLiteral("GetServerInformation"));
    auto *watcher =
        new QDBusPendingCallWatcher(m_bus.asyncCall(call, int(m_callTimeout.count())), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, asked](QDBusPendingCallWatcher *finished) {
                finished->deleteLater();
                if (asked != m_asked || !m_answer)
                    return;
                if (!finished->isError()) {
                    m_answer(true);
                    return;
                }
                const QDBusError::ErrorType error = finished->error().type();
                if (error == QDBusError::NoReply || error == QDBusError::Timeout) {
                    // Too slow (a busy login): refused for now, asked again later.
                    m_answer(false);
                    m_askAgain.start(m_askAgainAfter);
                    m_askAgainAfter = std::min(2 * m_askAgainAfter, lastAskAgain);
                    return;
                }
                // A server that is there and fails to answer refuses. No server at all (none
                // yet, or one the bus is still starting) is no answer: its arrival will be.
                const QDBusMessage owned =
                    QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                                   QStringLiteral("/org/freedesktop/DBus"),
                                                   QStringLiteral("org.freedesktop.DBus"),
                                                   QStringLiteral("NameHasOwner"))
                    << service;
                auto *owner = new QDBusPendingCallWatcher(
                    m_bus.asyncCall(owned, int(m_callTimeout.count())), this);
                connect(owner, &QDBusPendingCallWatcher::finished, this,
                        [this, asked](QDBusPendingCallWatcher *answered) {
                            answered->deleteLater();
                            const QDBusPendingReply<bool> present = *answered;
                            if (asked == m_asked && m_answer && !present.isError() &&
                                present.value())
                                m_answer(false);
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
