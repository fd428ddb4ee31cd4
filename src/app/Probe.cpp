#include "app/Probe.h"

#include "base/FixedDecimal.h"

#include <QTimer>
#include <cstdio>

namespace probe {

namespace {
// The shortest round-trip decimal, always with a fractional digit: 1183 -> "1183.0".
QByteArray coordinate(double value)
{
    QByteArray text = base::shortestDecimal(value).toLatin1();
    const bool plainInteger = !text.contains('.') && !text.contains('e') && !text.contains("inf") &&
                              !text.contains("nan");
    if (plainInteger)
        text += ".0";
    return text;
}

void writeToStandardError(const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fflush(stderr);
}
} // namespace

bool isEnabled(const std::optional<QByteArray> &value)
{
    return value && *value == "1";
}

bool isEnabled()
{
    if (!qEnvironmentVariableIsSet(environmentVariable))
        return isEnabled(std::nullopt);
    return isEnabled(qgetenv(environmentVariable));
}

QByteArray line(bool visible, const QRectF &frame)
{
    return "probe visible=" + QByteArray(visible ? "true" : "false") + " frame=(" +
           coordinate(frame.x()) + ", " + coordinate(frame.y()) + ", " + coordinate(frame.width()) +
           ", " + coordinate(frame.height()) + ")\n";
}

void schedule(QObject *owner, Source source, std::chrono::milliseconds after, bool enabled)
{
    if (!enabled)
        return;
    // The owner is the timer's context: once it is gone, nothing fires.
    QTimer::singleShot(after, owner, [source] {
        const bool visible = source.visible && source.visible();
        const QRectF frame = source.frame ? source.frame() : QRectF();
        const QByteArray text = line(visible, frame);
        if (source.write)
            source.write(text);
        else
            writeToStandardError(text);
    });
}

} // namespace probe
