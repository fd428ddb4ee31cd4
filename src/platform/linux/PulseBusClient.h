#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <chrono>
#include <optional>

// The clients' side of the app's place on the bus (see PulseBus.h). None of these calls starts
// the app: a surface that finds no app runs on its own. Calls block the caller without running
// a nested event loop: nothing of the caller's runs in the middle of one.
namespace pulse_bus {

// What the app shows: its Title and Status properties.
struct State
{
    QString title;
    QString status;
};

// A status bar asks often and can wait for the next time; a launch waits longer.
inline constexpr std::chrono::milliseconds defaultCallTimeout{3000};
inline constexpr std::chrono::milliseconds handOverTimeout{10000};

// Whether an app owns the name now.
bool appIsRunning(const QDBusConnection &bus);

// Hands a launch to the running app: Open with the link, or Activate without one, with
// `platformData` (the launch's focus tokens). True when the app took it.
bool handOver(const QDBusConnection &bus, const QString &link,
              std::chrono::milliseconds timeout = handOverTimeout,
              const QVariantMap &platformData = {});

// The app's state, or nothing when no app runs or it did not answer in time.
std::optional<State> readState(const QDBusConnection &bus,
                               std::chrono::milliseconds timeout = defaultCallTimeout);

} // namespace pulse_bus

// Follows the app: its coming and going, and every change of its state.
class PulseBusWatcher : public QObject
{
    Q_OBJECT
public:
    explicit PulseBusWatcher(QDBusConnection bus, QObject *parent = nullptr);

Q_SIGNALS:
    void appStarted();
    void appStopped();
    // Only the members that changed are set.
    void stateChanged(const std::optional<QString> &title, const std::optional<QString> &status);

private Q_SLOTS:
    void propertiesChanged(const QString &interface, const QVariantMap &changed,
                           const QStringList &invalidated);

private:
    QDBusConnection m_bus;
    QDBusServiceWatcher m_watcher;
};
