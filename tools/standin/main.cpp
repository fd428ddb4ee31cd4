#include "Server.h"
#include "SignalQuitter.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>
#include <cmath>

using namespace Qt::StringLiterals;

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(u"mireo-standin"_s);

    QCommandLineParser parser;
    parser.setApplicationDescription(u"Local stand-in for the Mireo service, on 127.0.0.1."_s);
    parser.addHelpOption();
    const QCommandLineOption portOption(u"port"_s, u"Port to listen on (0: any free port)."_s,
                                        u"N"_s, u"8787"_s);
    const QCommandLineOption seedOption(u"seed"_s, u"Seed of the demo book."_s, u"S"_s, u"42"_s);
    const QCommandLineOption stepOption(
        u"step-seconds"_s, u"Seconds per demo-book step (0: only on request)."_s, u"X"_s, u"5"_s);
    const QCommandLineOption versionOption(u"latest-version"_s,
                                           u"Version the updates feed announces."_s, u"X.Y.Z"_s,
                                           QStringLiteral(MIREO_APP_VERSION));
    parser.addOptions({portOption, seedOption, stepOption, versionOption});
    parser.process(app);

    QTextStream err(stderr);
    bool portOk = false, seedOk = false, stepOk = false;
    const uint port = parser.value(portOption).toUInt(&portOk);
    const quint64 seed = parser.value(seedOption).toULongLong(&seedOk);
    const double stepSeconds = parser.value(stepOption).toDouble(&stepOk);
    if (!portOk || port > 65535 || !seedOk || !stepOk || !std::isfinite(stepSeconds) ||
        stepSeconds < 0) {
        err << "mireo-standin: --port takes 0-65535, --seed an unsigned integer, "
               "--step-seconds a number >= 0\n";
        return 2;
    }

    standin::Server server(seed);
    server.book().setStepSeconds(stepSeconds);
    if (!server.setLatestVersion(parser.value(versionOption))) {
        err << "mireo-standin: --latest-version takes dotted numbers, e.g. 1.2.0\n";
        return 2;
    }
    if (!server.listen(quint16(port))) {
        err << "mireo-standin: cannot listen on 127.0.0.1:" << port << ": " << server.errorString()
            << '\n';
        return 1;
    }
    QTextStream(stdout) << "mireo-standin listening on " << server.baseUrl().toString() << Qt::endl;

    SignalQuitter quitter;
    return QCoreApplication::exec();
}
