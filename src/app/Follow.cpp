#include "app/Follow.h"

#include "platform/linux/PulseBusClient.h"
#include "settings/AppSettings.h"
#include "settings/Defaults.h"
#include "settings/SettingsFileWatcher.h"

#include <QCoreApplication>
#include <QTimer>
#include <memory>

namespace {

// The services as the app runs them, for as long as no app does.
struct RunningAlone
{
    HeadlessServices services;
    SettingsFileWatcher settingsWatcher{Defaults::shared(), AppSettings::shared()};
};

class FollowSession : public QObject
{
public:
    FollowSession(HeadlessOutput output, QDBusConnection bus)
        : m_output(output), m_bus(bus), m_watcher(bus)
    {
        // Changes are announced before the values settle and often several at once: print from
        // the next turn of the event loop.
        m_nextTurn.setSingleShot(true);
        m_nextTurn.setInterval(0);
        connect(&m_nextTurn, &QTimer::timeout, this, [this] {
            if (m_alone)
                print(headlessLine(m_output, m_alone->services.core));
        });
        m_askAgain.setSingleShot(true);
        m_askAgain.setInterval(std::chrono::seconds(1));
        connect(&m_askAgain, &QTimer::timeout, this, &FollowSession::followApp);
        connect(&m_watcher, &PulseBusWatcher::appStarted, this, &FollowSession::followApp);
        connect(&m_watcher, &PulseBusWatcher::appStopped, this, [this] {
            if (!pulse_bus::appIsRunning(m_bus))
                runAlone();
        });
        connect(&m_watcher, &PulseBusWatcher::stateChanged, this,
                [this](const QVariantMap &changed) {
                    if (m_alone)
                        return;
                    pulse_bus::applyProperties(m_app, changed);
                    print(surfaceLine(m_output, m_app));
                });
        if (pulse_bus::appIsRunning(m_bus))
            followApp();
        else
            runAlone();
    }

private:
    // Never alone while an app owns the name, however slowly it answers: ask again until it
    // does or goes.
    void followApp()
    {
        if (const auto app = pulse_bus::readState(m_bus)) {
            showApp(*app);
        } else if (pulse_bus::appIsRunning(m_bus)) {
            retireAlone();
            if (m_last.isEmpty())
                print(unansweredLine(m_output));
            m_askAgain.start();
        } else {
            runAlone();
        }
    }

    void showApp(const pulse_bus::State &app)
    {
        m_askAgain.stop();
        // One process per user announces: the app. Its caches are its own to write.
        retireAlone();
        m_app = app;
        print(surfaceLine(m_output, app));
    }

    void retireAlone()
    {
        if (!m_alone)
            return;
        m_retiring = std::move(m_alone);
        AppCore &core = m_retiring->services.core;
        disconnect(&core, nullptr, &m_nextTurn, nullptr);
        connect(&core, &AppCore::stoodDown, this, [this] {
            QTimer::singleShot(0, this, [this] {
                m_retiring.reset();
                if (!pulse_bus::appIsRunning(m_bus))
                    runAlone();
            });
        });
        core.standDown();
    }

    void runAlone()
    {
        if (m_alone || m_retiring)
            return;
        m_alone = std::make_unique<RunningAlone>();
        AppCore &core = m_alone->services.core;
        connect(&core, &AppCore::changed, &m_nextTurn, qOverload<>(&QTimer::start));
        m_nextTurn.start();
        core.startAccountCycle();
    }

    // Only what differs from the last line.
    void print(const QByteArray &line)
    {
        if (line == m_last)
            return;
        m_last = line;
        printLine(line);
        // Nothing else would save the caches before the process is stopped.
        if (m_alone)
            Defaults::shared().sync();
    }

    const HeadlessOutput m_output;
    QDBusConnection m_bus;
    PulseBusWatcher m_watcher;
    QTimer m_nextTurn;
    QTimer m_askAgain; // an app that has not answered yet
    std::unique_ptr<RunningAlone> m_alone;
    std::unique_ptr<RunningAlone> m_retiring; // finishing a token renewal before it goes
    pulse_bus::State m_app;
    QByteArray m_last;
};

} // namespace

int runFollow(HeadlessOutput output)
{
    FollowSession session(output, QDBusConnection::sessionBus());
    return QCoreApplication::exec();
}
