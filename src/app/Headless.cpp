#include "app/Headless.h"

#include "app/AppCore.h"
#include "app/StatusReport.h"
#include "net/Clock.h"
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

int runHeadless(HeadlessOutput output)
{
    AppCore core(Defaults::shared(), net::Clock::system(), MireoConfig::siteURL());
    QObject::connect(
        &core.pulse(), &PulseStore::refreshFinished, &core,
        [&core, output] {
            if (output == HeadlessOutput::Title)
                printLine(core.menuTitle().toUtf8());
            else
                printLine(QJsonDocument(statusReport(core.menuTitle(), core.pulse()))
                              .toJson(QJsonDocument::Compact));
            Defaults::shared().sync();
            QCoreApplication::exit(0);
        },
        Qt::SingleShotConnection);
    return QCoreApplication::exec();
}
