#include "app/DesktopMode.h"

#include "app/AppDelegate.h"
#include "app/SingleInstance.h"

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
    const QStringList arguments = QCoreApplication::arguments();
    // What the desktop runs for a mireopulse: link is "mireo-pulse URL".
    const QString url = arguments.size() > 1 ? arguments.last() : QString();

    SingleInstance instance;
    switch (instance.start(url)) {
    case SingleInstance::Role::Forwarded:
        return 0;
    case SingleInstance::Role::Failed:
        return 1;
    case SingleInstance::Role::Primary:
    case SingleInstance::Role::Alone:
        break;
    }

    AppDelegate delegate;
    QObject::connect(&instance, &SingleInstance::urlReceived, &delegate, &AppDelegate::handleUrl);
    QObject::connect(&instance, &SingleInstance::toggleRequested, &delegate,
                     &AppDelegate::toggleQuickPanel);
    delegate.didFinishLaunching();
    // A URL that started the app is handled now that launch has finished.
    instance.launchFinished();
    return QApplication::exec();
}
