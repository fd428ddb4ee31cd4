#include "app/RenderCommand.h"

#include "app/Headless.h"
#include "base/AppNames.h"
#include "base/Clock.h"
#include "platform/linux/XdgAutostart.h"
#include "settings/AppSettings.h"
#include "settings/Defaults.h"
#include "settings/MireoConfig.h"
#include "ui/OnboardingView.h"
#include "ui/PulseMenuView.h"
#include "ui/RenderPng.h"

#include <QApplication>
#include <QCommandLineParser>
#include <cstdio>
#include <cstring>

namespace {

constexpr const char *popoverFlag = "--render-popover";
constexpr const char *onboardingFlag = "--render-onboarding";

bool render(QWidget &widget, const QString &path)
{
    if (ui::renderWidgetToPng(widget, path))
        return true;
    std::fprintf(stderr, "%s: cannot write %s\n", app_names::executable, qPrintable(path));
    return false;
}

} // namespace

bool isRenderCommand(int argc, char *argv[])
{
    for (int i = 1; i < argc; ++i) {
        const char *arg = argv[i];
        for (const char *flag : {popoverFlag, onboardingFlag}) {
            const size_t length = std::strlen(flag);
            if (std::strncmp(arg, flag, length) == 0 && (arg[length] == '\0' || arg[length] == '='))
                return true;
        }
    }
    return false;
}

int runRenderCommand(int argc, char *argv[])
{
    // Never a window on the user's screen, and the same pixels on any desktop.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);

    QCommandLineParser parser;
    const QCommandLineOption popover(QString::fromLatin1(popoverFlag + 2),
                                     QStringLiteral("Render the popover's content to a PNG."),
                                     QStringLiteral("file"));
    const QCommandLineOption onboarding(
        QString::fromLatin1(onboardingFlag + 2),
        QStringLiteral("Render the first-run window's content to a PNG."), QStringLiteral("file"));
    parser.addOptions({popover, onboarding});
    parser.addHelpOption();
    parser.process(app);

    HeadlessServices services;
    AppCore &core = services.core;
    XdgAutostart loginItem(QCoreApplication::applicationFilePath());
    afterFirstLoad(core, [&] {
        bool written = true;
        if (parser.isSet(popover)) {
            ui::PulseMenuView view({core.pulse(), core.auth(), AppSettings::shared(), loginItem,
                                    services.browser, base::Clock::system(),
                                    MireoConfig::siteURL()});
            written = render(view, parser.value(popover)) && written;
        }
        if (parser.isSet(onboarding)) {
            ui::OnboardingView view(AppSettings::shared());
            written = render(view, parser.value(onboarding)) && written;
        }
        Defaults::shared().sync();
        QCoreApplication::exit(written ? 0 : 1);
    });
    return QApplication::exec();
}
