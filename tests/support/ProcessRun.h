#pragma once

#include <QProcess>
#include <QTest>

namespace testing {

struct ProcessRun
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// Runs a program to its end, waiting on the event loop rather than in waitForFinished(), so an
// in-process stand-in can answer it.
inline ProcessRun runToEnd(const QString &program, const QStringList &arguments,
                           const QProcessEnvironment &environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 30000))
        qFatal("%s %s did not finish", qPrintable(program), qPrintable(arguments.join(u' ')));
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

} // namespace testing
