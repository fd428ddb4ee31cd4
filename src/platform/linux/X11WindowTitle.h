#pragma once

#include <QByteArray>

class QWindow;

namespace x11 {

// Leaves `window`'s title empty on the X server (WM_NAME and _NET_WM_NAME), where Qt would put
// the application's name in place of an empty title. Creates the native window if needed;
// does nothing off X11.
void clearWindowTitle(QWindow *window);

// From now on, every window the app creates on X11 carries this WM_CLASS (instance, class), so
// docks and task bars match it to the desktop entry's StartupWMClass. Qt would name the class
// after the application name, which names the settings file and must stay. Does nothing off
// X11; call once, before the first window.
void setWindowClassForNewWindows(const QByteArray &instance, const QByteArray &className);

// The next window shown carries this startup id (_NET_STARTUP_ID), which a launcher gave for
// the window it asked for, so the window manager lets it take the focus. Needs the above.
void setStartupIdForNextWindow(const QByteArray &startupId);

} // namespace x11
