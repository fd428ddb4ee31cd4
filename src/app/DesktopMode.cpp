#include "app/DesktopMode.h"

#include "app/AppDelegate.h"
#include "app/ShellRules.h"
#include "app/UrlRouting.h"
#include "platform/linux/DesktopExec.h"
#include "platform/linux/FocusToken.h"
#include "platform/linux/PulseBus.h"
#include "platform/linux/PulseBusClient.h"
#include "platform/linux/X11WindowTitle.h"

#include <QApplication>
#include <cstring>
#include <optional>
#include <vector>

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

namespace {

// The next window shown takes the focus the launcher asked for. Qt's Wayland shell hands the
// token to the compositor at the next activation and drops it; on X11 it marks the next window.
void adoptFocusTokens(const focus_token::Tokens &tokens)
{
    if (QGuiApplication::platformName().startsWith(u"wayland") && !tokens.wayland.isEmpty())
        qputenv("XDG_ACTIVATION_TOKEN", tokens.wayland.toUtf8());
    if (!tokens.x11.isEmpty())
        x11::setStartupIdForNextWindow(tokens.x11.toUtf8());
}

// What the command line asks of a desktop launch.
struct Launch
{
    bool background = false; // autostart or the bus: not the user's own launch
    QString link;            // "mireo-pulse URL", from launchers that do not activate
};

Launch launchFrom(QStringList arguments)
{
    Launch launch;
    launch.background =
        arguments.removeAll(QLatin1StringView(desktop_exec::backgroundArgument)) > 0;
    if (arguments.size() > 1)
        launch.link = arguments.last();
    return launch;
}

// Beside a running app a launch only hands over. At login several may start the app at once;
// only the user's own launch hands over, the others leave quietly.
int handOver(const QDBusConnection &bus, const Launch &launch, const QVariantMap &focusTokens)
{
    if (launch.background)
        return 0;
    // The desktop only hands us links of our scheme; anything else counts as no link.
    return pulse_bus::handOver(bus, isCallbackUrl(launch.link) ? launch.link : QString(),
                               pulse_bus::handOverTimeout, focusTokens)
               ? 0
               : 1;
}

// Asked before any GUI is built (no display connection, no fonts): a second launch, a link or
// a desktop shortcut beside the running app costs no more than the bus call.
std::optional<int> handOverIfRunning(int argc, char *argv[], const QVariantMap &focusTokens)
{
    const QCoreApplication probe(argc, argv);
    // A connection of its own: the shared one, made now, would keep waiting for this
    // application object's event loop to deliver calls, long after it is gone.
    const QString name = QLatin1StringView(app_names::executable) + QStringLiteral("-launch");
    std::optional<int> handedOver;
    {
        const QDBusConnection bus =
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
        if (pulse_bus::appIsRunning(bus))
            handedOver = handOver(bus, launchFrom(QCoreApplication::arguments()), focusTokens);
    }
    QDBusConnection::disconnectFromBus(name);
    return handedOver;
}

} // namespace

int runDesktop(int argc, char *argv[])
{
    // Through XWayland our windows go where we put them: the popover under the panel item, the
    // quick panel above centre. Natively the compositor places them. A user's own choice of
    // platform wins. Passed as an argument, not the environment: the browser and other
    // programs we start keep theirs.
    // Read before Qt starts: its X11 platform takes DESKTOP_STARTUP_ID for itself.
    const QVariantMap launchTokens = focus_token::inherited();
    if (const std::optional<int> handedOver = handOverIfRunning(argc, argv, launchTokens))
        return *handedOver;
    std::vector<char *> arguments(argv, argv + argc);
    char platformOption[] = "-platform";
    char xcb[] = "xcb";
    if (ShellRules::routesThroughXWayland(argc, argv))
        arguments.insert(arguments.begin() + 1, {platformOption, xcb});
    int count = int(arguments.size());
    arguments.push_back(nullptr);
    QApplication app(count, arguments.data());
    // The Wayland app_id and the dock's name match the desktop entry; X11 windows carry the
    // class the entry's StartupWMClass names. Never Qt's fallback, the bare application name.
    QGuiApplication::setDesktopFileName(QString::fromLatin1(app_names::appId));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Mireo Pulse"));
    x11::setWindowClassForNewWindows(app_names::executable, app_names::appId);
    const Launch launch = launchFrom(QCoreApplication::arguments());
    const QString &link = launch.link;

    PulseBusService bus;
    switch (bus.claim()) {
    case PulseBusService::Claim::Taken:
        // Started at the same moment as another launch, which won the name.
        return handOver(QDBusConnection::sessionBus(), launch, launchTokens);
    case PulseBusService::Claim::Owner:
    case PulseBusService::Claim::NoBus:
        break;
    }

    AppDelegate delegate;
    const auto publish = [&bus, &delegate] { bus.publish(currentPanelState(delegate.core())); };
    publish();
    QObject::connect(&delegate, &AppDelegate::titleUpdated, &bus, publish);
    QObject::connect(&bus, &PulseBusService::focusTokensReceived, &delegate, adoptFocusTokens);
    QObject::connect(&bus, &PulseBusService::activateRequested, &delegate,
                     &AppDelegate::toggleQuickPanel);
    QObject::connect(&bus, &PulseBusService::linkReceived, &delegate, &AppDelegate::handleUrl);
    QObject::connect(&bus, &PulseBusService::signInRequested, &delegate, [&delegate] {
        // Only a signed-out app begins one, as only its popover offers it.
        if (!delegate.core().auth().isSignedIn())
            delegate.core().auth().beginSignIn();
    });
    QObject::connect(&bus, &PulseBusService::popoverRequested, &delegate,
                     &AppDelegate::togglePopover);
    // A link that started the app waits for launch like one that arrives over the bus.
    if (!link.isEmpty())
        bus.open({link});
    delegate.didFinishLaunching();
    bus.launchFinished();
    return QApplication::exec();
}
