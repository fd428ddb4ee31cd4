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

// What the app shows: the properties of its state interface. The app decides them all, so every
// panel shows the same tone, staleness and tool tip for a title.
struct State
{
    QString title;
    QString status;     // the status report as JSON text
    QString toolTip;    // the summary, plain text, one fact a line
    QString tone;       // "gain", "loss", or empty while the title has no number
    bool stale = false; // the numbers behind the title are the offline cache
    QString metric;
};

// Takes the members of a GetAll answer or a PropertiesChanged that have their bus type; others
// are left as they were.
void applyProperties(State &state, const QVariantMap &properties);

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
    // The state interface's properties that changed; see applyProperties.
    void stateChanged(const QVariantMap &changed);

private Q_SLOTS:
    void propertiesChanged(const QString &interface, const QVariantMap &changed,
                           const QStringList &invalidated);

private:
    QDBusConnection m_bus;
    QDBusServiceWatcher m_watcher;
};
