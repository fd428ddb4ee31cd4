#pragma once

class QWindow;

namespace x11 {

// Leaves `window`'s title empty on the X server (WM_NAME and _NET_WM_NAME), where Qt would put
// the application's name in place of an empty title. Creates the native window if needed;
// does nothing off X11.
void clearWindowTitle(QWindow *window);

} // namespace x11
