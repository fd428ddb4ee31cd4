#include "base/FrameTrace.h"

#include "base/FixedDecimal.h"

#include <QTimer>
#include <cstdio>

namespace base {

bool popoverTraced()
{
    return qEnvironmentVariable("MIREO_TRACE_POPOVER") == u"1";
}

void traceAfterFrame(QObject *context, QElapsedTimer since, const char *what)
{
    QTimer::singleShot(0, context, [since, what] {
        const QByteArray line = QByteArray(what) + " in " +
                                fixedDecimal(double(since.nsecsElapsed()) / 1e6, 1).toUtf8() +
                                " ms\n";
        std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
    });
}

} // namespace base
