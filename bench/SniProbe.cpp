// Starts a program under a StatusNotifierWatcher of its own and reports how long the program
// took from exec to a non-empty title on the bus:
//   bench-sni-probe PROGRAM [ARGS...]
// prints "pid=<pid> title_ms=<ms> service=<bus name> title=<title>" once, then keeps serving as the
// watcher until the program exits. Exit codes: the program's own; 3 when it exited before showing a
// title; 4 when no title came within 30 s.
#include "support/SniWatcher.h"

#include <QCoreApplication>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QElapsedTimer>
#include <QProcess>
#include <QTimer>
#include <cstdio>

namespace {

void say(const QString &line)
{
    std::fputs(qPrintable(line + u'\n'), stdout);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    if (args.isEmpty()) {
        std::fputs("usage: bench-sni-probe PROGRAM [ARGS...]\n", stderr);
        return 2;
    }
    SniWatcher watcher(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"));
    if (!watcher.start()) {
        std::fputs("bench-sni-probe: cannot own org.kde.StatusNotifierWatcher\n", stderr);
        return 2;
    }

    QProcess program;
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    program.setStandardOutputFile(QProcess::nullDevice());
    QElapsedTimer sinceExec;
    bool titled = false;
    QTimer poll;
    QString service;

    const auto readTitle = [&] {
        QDBusMessage get = QDBusMessage::createMethodCall(
            service, QStringLiteral("/StatusNotifierItem"),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
        get << QStringLiteral("org.kde.StatusNotifierItem") << QStringLiteral("Title");
        auto *pending = new QDBusPendingCallWatcher(watcher.connection().asyncCall(get), &app);
        QObject::connect(pending, &QDBusPendingCallWatcher::finished, &app,
                         [&, pending](QDBusPendingCallWatcher *) {
                             pending->deleteLater();
                             const QString title = pending->reply()
                                                       .arguments()
                                                       .value(0)
                                                       .value<QDBusVariant>()
                                                       .variant()
                                                       .toString();
                             if (titled || title.isEmpty())
                                 return;
                             titled = true;
                             poll.stop();
                             say(QStringLiteral("pid=%1 title_ms=%2 service=%3 title=%4")
                                     .arg(program.processId())
                                     .arg(sinceExec.elapsed())
                                     .arg(service, title));
                         });
    };
    QObject::connect(&watcher, &SniWatcher::itemRegistered, &app, [&](const QString &name) {
        service = name;
        readTitle();
        poll.start(10);
    });
    QObject::connect(&poll, &QTimer::timeout, &app, readTitle);
    QObject::connect(&program, &QProcess::finished, &app, [&](int code) {
        if (!titled)
            say(QStringLiteral("exited=%1").arg(code));
        QCoreApplication::exit(titled ? code : 3);
    });
    QTimer::singleShot(30000, &app, [&] {
        if (titled)
            return;
        say(QStringLiteral("timeout"));
        program.kill();
        program.waitForFinished(5000);
        QCoreApplication::exit(4);
    });

    const QString command = args.takeFirst();
    sinceExec.start();
    program.start(command, args);
    return QCoreApplication::exec();
}
