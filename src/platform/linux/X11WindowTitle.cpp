#include "platform/linux/X11WindowTitle.h"

#include <QGuiApplication>
#include <QPlatformSurfaceEvent>
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

#if QT_CONFIG(xcb)
xcb_connection_t *x11Connection()
{
    auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

QByteArray pendingStartupId;

void changeProperty(xcb_connection_t *connection, QWindow *window, xcb_atom_t property,
                    xcb_atom_t type, const QByteArray &value)
{
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, xcb_window_t(window->winId()), property,
                        type, 8, std::uint32_t(value.size()), value.constData());
}

// Sets the class as each native window is created, and a launcher's startup id as the next
// window is shown: both before it is mapped.
class WindowPropertySetter : public QObject
{
public:
    WindowPropertySetter(const QByteArray &instance, const QByteArray &className, QObject *parent)
        : QObject(parent), m_class(instance + '\0' + className + '\0')
    {
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        xcb_connection_t *connection = watched->isWindowType() ? x11Connection() : nullptr;
        if (!connection)
            return false;
        auto *window = static_cast<QWindow *>(watched);
        if (event->type() == QEvent::PlatformSurface &&
            static_cast<QPlatformSurfaceEvent *>(event)->surfaceEventType() ==
                QPlatformSurfaceEvent::SurfaceCreated)
            changeProperty(connection, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, m_class);
        if (event->type() == QEvent::Show && !pendingStartupId.isEmpty()) {
            changeProperty(connection, window, atom(connection, "_NET_STARTUP_ID"),
                           atom(connection, "UTF8_STRING"), pendingStartupId);
            pendingStartupId.clear();
        }
        return false;
    }

private:
    const QByteArray m_class;
};
#endif

} // namespace

void setWindowClassForNewWindows(const QByteArray &instance, const QByteArray &className)
{
#if QT_CONFIG(xcb)
    if (x11Connection())
        qGuiApp->installEventFilter(new WindowPropertySetter(instance, className, qGuiApp));
#else
    Q_UNUSED(instance);
    Q_UNUSED(className);
#endif
}

void setStartupIdForNextWindow(const QByteArray &startupId)
{
#if QT_CONFIG(xcb)
    pendingStartupId = startupId;
#else
    Q_UNUSED(startupId);
#endif
}

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
