#include "app/DesktopMode.h"
#include "app/Follow.h"
#include "app/Headless.h"
#include "app/RenderCommand.h"
#include "base/AppNames.h"
#include "settings/AppSettings.h"
#include "settings/Defaults.h"

#include <QCommandLineParser>
#include <QCoreApplication>

int main(int argc, char *argv[])
{
    QCoreApplication::setOrganizationName(QString::fromLatin1(app_names::settingsOrganisation));
    QCoreApplication::setApplicationName(QString::fromLatin1(app_names::settingsApplication));
    QCoreApplication::setApplicationVersion(QStringLiteral(MIREO_APP_VERSION));
    if (isRenderCommand(argc, argv))
        return runRenderCommand(argc, argv);
    if (!isHeadlessCommand(argc, argv))
        return runDesktop(argc, argv);
    QCoreApplication app(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Mireo Pulse: the service's track record and your account at a glance."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption printTitle(QStringLiteral("print-title"),
                                        QStringLiteral("Print the menu-bar title once and exit."));
    const QCommandLineOption statusJson(
        QStringLiteral("status-json"), QStringLiteral("Print the current state as JSON and exit."));
    const QCommandLineOption setMetric(
        QStringLiteral("set-metric"),
        QStringLiteral("Choose what the title shows (book, pct, pnl, pnlTotal) and exit."),
        QStringLiteral("metric"));
    const QCommandLineOption setLanguage(
        QStringLiteral("set-language"),
        QStringLiteral("Choose the language (system, en, pt) and exit."),
        QStringLiteral("language"));
    parser.addOptions({printTitle, statusJson, setMetric, setLanguage});
    const QCommandLineOption follow(
        QStringLiteral("follow"),
        QStringLiteral("Keep running; print the title each time it changes."));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("With --follow: print the state as JSON."));
    const QCommandLineOption waybar(
        QStringLiteral("waybar"),
        QStringLiteral(
            "Print one line for waybar's custom module (with --follow: one per change)."));
    parser.addOptions({follow, json, waybar});
    parser.process(app);

    if (parser.isSet(setMetric) || parser.isSet(setLanguage)) {
        if (parser.isSet(setMetric))
            AppSettings::shared().setMenuMetric(parser.value(setMetric));
        if (parser.isSet(setLanguage))
            AppSettings::shared().setLanguage(parser.value(setLanguage));
        Defaults::shared().sync();
        return 0;
    }

    if (parser.isSet(follow))
        return runFollow(parser.isSet(waybar) ? HeadlessOutput::Waybar
                         : parser.isSet(json) ? HeadlessOutput::StatusJson
                                              : HeadlessOutput::Title);
    if (parser.isSet(waybar))
        return runHeadless(HeadlessOutput::Waybar);
    if (parser.isSet(statusJson))
        return runHeadless(HeadlessOutput::StatusJson);
    if (parser.isSet(printTitle))
        return runHeadless(HeadlessOutput::Title);

    return 0;
}
