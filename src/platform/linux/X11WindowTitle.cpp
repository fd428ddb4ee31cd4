#include "platform/linux/X11WindowTitle.h"

#include <QGuiApplication>
#include <QWindow>
#include <cstdlib>
#include <cstring>
#include <xcb/xcb.h>

namespace x11 {

namespace {

xcb_atom_t atom(xcb_connection_t *connection, const char *name)
{
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, std::uint16_t(std::strlen(name)), name),
        nullptr);
    const xcb_atom_t value = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return value;
}

} // namespace

void clearWindowTitle(QWindow *window)
{
#if QT_CONFIG(xcb)
    auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (!window || !x11 || !x11->connection())
        return;
    xcb_connection_t *connection = x11->connection();
    const auto id = xcb_window_t(window->winId());
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        0, nullptr);
    const xcb_atom_t netName = atom(connection, "_NET_WM_NAME");
    const xcb_atom_t utf8 = atom(connection, "UTF8_STRING");
    if (netName != XCB_ATOM_NONE && utf8 != XCB_ATOM_NONE)
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, netName, utf8, 8, 0, nullptr);
    xcb_flush(connection);
#else
    Q_UNUSED(window);
#endif
}

} // namespace x11
