#include "app/Headless.h"

#include "app/PanelState.h"
#include "app/StatusReport.h"
#include "app/WaybarLine.h"
#include "base/Clock.h"
#include "settings/Defaults.h"
#include "settings/L.h"
#include "settings/MireoConfig.h"

#include <QCoreApplication>
#include <cstdio>

void printLine(const QByteArray &line)
{
    std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

HeadlessServices::HeadlessServices()
    : secrets(KeychainProcessStore::installedHelper(), MireoConfig::keychainService()),
      core(Defaults::shared(), base::Clock::system(), secrets, browser, notifier,
           builtInEndpoints())
{
}

pulse_bus::State currentPanelState(AppCore &core)
{
    return panelState(statusReport(core.menuTitle(), core.pulse(), core.auth()), L::isPT());
}

QByteArray surfaceLine(HeadlessOutput output, const pulse_bus::State &state)
{
    if (output == HeadlessOutput::Title)
        return state.title.toUtf8();
    if (output == HeadlessOutput::Waybar)
        return waybarLine(state);
    return state.status.toUtf8();
}

QByteArray headlessLine(HeadlessOutput output, AppCore &core)
{
    return surfaceLine(output, currentPanelState(core));
}

AuthStore::Endpoints builtInEndpoints()
{
    return {MireoConfig::siteURL(), MireoConfig::supabaseURL(), MireoConfig::supabaseAnonKey()};
}

void afterFirstLoad(AppCore &core, std::function<void()> then)
{
    auto waiting = std::make_shared<int>(2);
    const auto finishOne = [waiting, then = std::move(then)] {
        if (--*waiting == 0)
            then();
    };
    QObject::connect(&core.pulse(), &PulseStore::refreshFinished, &core, finishOne,
                     Qt::SingleShotConnection);
    QObject::connect(&core.auth(), &AuthStore::restoreFinished, &core, finishOne,
                     Qt::SingleShotConnection);
}

QByteArray unansweredLine(HeadlessOutput output)
{
    pulse_bus::State unanswered;
    unanswered.title = PulseStore::titleFor(std::nullopt);
    unanswered.status = QStringLiteral("{}");
    return surfaceLine(output, unanswered);
}

int runHeadless(HeadlessOutput output)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (const auto app = pulse_bus::readState(bus)) {
        printLine(surfaceLine(output, *app));
        return 0;
    }
    // A slow app is still the app: a second one beside it would spend its session's tokens.
    if (pulse_bus::appIsRunning(bus)) {
        printLine(unansweredLine(output));
        return 0;
    }
    HeadlessServices services;
    AppCore &core = services.core;
    afterFirstLoad(core, [&core, output] {
        printLine(headlessLine(output, core));
        Defaults::shared().sync();
        QCoreApplication::exit(0);
    });
    return QCoreApplication::exec();
}
