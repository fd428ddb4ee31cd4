#include "app/Follow.h"

#include "settings/Defaults.h"

#include <QCoreApplication>
#include <QTimer>

int runFollow(HeadlessOutput output)
{
    HeadlessServices services;
    AppCore &core = services.core;

    // Changes are announced before the values settle and often several at once: print from
    // the next turn of the event loop, and only what differs from the last line.
    QByteArray last;
    QTimer nextTurn;
    nextTurn.setSingleShot(true);
    nextTurn.setInterval(0);
    QObject::connect(&nextTurn, &QTimer::timeout, &core, [&] {
        const QByteArray line = headlessLine(output, core);
        if (line == last)
            return;
        last = line;
        printLine(line);
        // Nothing else would save the caches before the process is stopped.
        Defaults::shared().sync();
    });
    QObject::connect(&core, &AppCore::changed, &nextTurn, qOverload<>(&QTimer::start));
    nextTurn.start();
    core.startAccountCycle();
    return QCoreApplication::exec();
}
