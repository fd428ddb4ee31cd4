#pragma once

#include <QElapsedTimer>

class QObject;

// For the bench (MIREO_TRACE_POPOVER=1): how long something took to reach the screen.
namespace base {

// Whether the popover's timings are asked for.
bool popoverTraced();

// Called from a paint: on the next turn of the event loop, once the frame is out, prints
// "<what> in N ms" to stderr, N counted from `since`.
void traceAfterFrame(QObject *context, QElapsedTimer since, const char *what);

} // namespace base
