#include "app/DesktopMode.h"

#include "app/AppDelegate.h"
#include "app/UrlRouting.h"
#include "platform/linux/DesktopExec.h"
#include "platform/linux/PulseBus.h"
#include "platform/linux/PulseBusClient.h"

#include <QApplication>
#include <cstring>

bool isHeadlessCommand(int argc, char *argv[])
{
    static constexpr const char *headless[] = {
        "--print-title",    "--status-json",      "--follow", "--waybar",
        "--set-metric",     "--set-language",     "--help",   "-h",
        "--help-all",       "--version",          "-v",       "--json",
        "--render-popover", "--render-onboarding"};
    for (int i = 1; i < argc; ++i) {
        for (const char *flag : headless) {
            const size_t length = std::strlen(flag);
            if (std::strncmp(argv[i], flag, length) == 0 &&
                (argv[i][length] == '\0' || argv[i][length] == '='))
                return true;
        }
    }
    return false;
}

int runDesktop(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QStringList arguments = QCoreApplication::arguments();
    const bool background =
        arguments.removeAll(QLatin1StringView(desktop_exec::backgroundArgument)) > 0;
    // What a launcher that does not activate over the bus runs for a link: "mireo-pulse URL".
    const QString link = arguments.size() > 1 ? arguments.last() : QString();

    PulseBusService bus;
    switch (bus.claim()) {
    case PulseBusService::Claim::Taken:
        // At login several may start the app at once; only the user's own launch hands over.
        if (background)
            return 0;
        // The desktop only hands us links of our scheme; anything else counts as no link.
        return pulse_bus::handOver(QDBusConnection::sessionBus(),
                                   isCallbackUrl(link) ? link : QString())
                   ? 0
                   : 1;
    case PulseBusService::Claim::Owner:
    case PulseBusService::Claim::NoBus:
        break;
    }

    AppDelegate delegate;
    const auto publish = [&bus, &delegate] { bus.publish(currentPanelState(delegate.core())); };
    publish();
    QObject::connect(&delegate, &AppDelegate::titleUpdated, &bus, publish);
    QObject::connect(&bus, &PulseBusService::activateRequested, &delegate,
                     &AppDelegate::toggleQuickPanel);
    QObject::connect(&bus, &PulseBusService::linkReceived, &delegate, &AppDelegate::handleUrl);
    QObject::connect(&bus, &PulseBusService::popoverRequested, &delegate,
                     &AppDelegate::togglePopover);
    // A link that started the app waits for launch like one that arrives over the bus.
    if (!link.isEmpty())
        bus.open({link});
    delegate.didFinishLaunching();
    bus.launchFinished();
    return QApplication::exec();
}
