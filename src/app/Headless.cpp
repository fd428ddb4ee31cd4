#include "app/Headless.h"

#include "app/AppCore.h"
#include "app/DesktopBrowser.h"
#include "app/StatusReport.h"
#include "net/Clock.h"
#include "platform/linux/KeychainSecretStore.h"
#include "settings/Defaults.h"
#include "settings/MireoConfig.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <cstdio>

namespace {

void printLine(const QByteArray &line)
{
    std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

} // namespace

AuthStore::Endpoints builtInEndpoints()
{
    return {MireoConfig::siteURL(), MireoConfig::supabaseURL(), MireoConfig::supabaseAnonKey()};
}

int runHeadless(HeadlessOutput output)
{
    KeychainSecretStore secrets(MireoConfig::keychainService());
    secrets.preload(QString::fromLatin1(AuthStore::refreshTokenKey));
    DesktopBrowser browser;
    AppCore core(Defaults::shared(), net::Clock::system(), secrets, browser, builtInEndpoints());

    // Prints once both the first public refresh and the session restore have finished.
    int waiting = 2;
    const auto finishOne = [&] {
        if (--waiting > 0)
            return;
        if (output == HeadlessOutput::Title)
            printLine(core.menuTitle().toUtf8());
        else
            printLine(QJsonDocument(statusReport(core.menuTitle(), core.pulse(), core.auth()))
                          .toJson(QJsonDocument::Compact));
        Defaults::shared().sync();
        QCoreApplication::exit(0);
    };
    QObject::connect(&core.pulse(), &PulseStore::refreshFinished, &core, finishOne,
                     Qt::SingleShotConnection);
    QObject::connect(&core.auth(), &AuthStore::restoreFinished, &core, finishOne,
                     Qt::SingleShotConnection);
    return QCoreApplication::exec();
}
