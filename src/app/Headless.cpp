#include "app/Headless.h"

#include "app/StatusReport.h"
#include "app/WaybarLine.h"
#include "net/Clock.h"
#include "settings/Defaults.h"
#include "settings/L.h"
#include "settings/MireoConfig.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <cstdio>

void printLine(const QByteArray &line)
{
    std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

namespace {

// AuthStore reads the token as it is created: it must be loaded by then.
SecretStore &withTokenLoaded(KeychainProcessStore &secrets)
{
    secrets.preload(QString::fromLatin1(AuthStore::refreshTokenKey));
    return secrets;
}

} // namespace

HeadlessServices::HeadlessServices()
    : secrets(KeychainProcessStore::installedHelper(), MireoConfig::keychainService()),
      core(Defaults::shared(), net::Clock::system(), withTokenLoaded(secrets), browser, notifier,
           builtInEndpoints())
{
}

QByteArray headlessLine(HeadlessOutput output, AppCore &core)
{
    if (output == HeadlessOutput::Title)
        return core.menuTitle().toUtf8();
    const QJsonObject report = statusReport(core.menuTitle(), core.pulse(), core.auth());
    if (output == HeadlessOutput::Waybar)
        return waybarLine(report, net::Clock::system().now(), L::isPT());
    return QJsonDocument(report).toJson(QJsonDocument::Compact);
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

int runHeadless(HeadlessOutput output)
{
    HeadlessServices services;
    AppCore &core = services.core;
    afterFirstLoad(core, [&core, output] {
        printLine(headlessLine(output, core));
        Defaults::shared().sync();
        QCoreApplication::exit(0);
    });
    return QCoreApplication::exec();
}
