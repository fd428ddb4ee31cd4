#include "MappedWindows.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

namespace testing {

namespace {
struct FreeReply
{
    void operator()(void *reply) const { std::free(reply); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeReply>;

QString textProperty(xcb_connection_t *connection, xcb_window_t window, xcb_atom_t property)
{
    Reply<xcb_get_property_reply_t> value{xcb_get_property_reply(
        connection,
        xcb_get_property(connection, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 256),
        nullptr)};
    if (!value)
        return QString();
    return QString::fromUtf8(static_cast<const char *>(xcb_get_property_value(value.get())),
                             xcb_get_property_value_length(value.get()));
}

xcb_atom_t atomNamed(xcb_connection_t *connection, const char *name)
{
    Reply<xcb_intern_atom_reply_t> atom{xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 1, uint16_t(qstrlen(name)), name), nullptr)};
    return atom ? atom->atom : xcb_atom_t(XCB_ATOM_NONE);
}
} // namespace

QList<MappedWindow> mappedWindows(const QByteArray &display)
{
    QList<MappedWindow> windows;
    xcb_connection_t *connection = xcb_connect(display.constData(), nullptr);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return windows;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const xcb_atom_t netName = atomNamed(connection, "_NET_WM_NAME");
    Reply<xcb_query_tree_reply_t> tree{
        xcb_query_tree_reply(connection, xcb_query_tree(connection, root), nullptr)};
    if (tree) {
        const xcb_window_t *children = xcb_query_tree_children(tree.get());
        for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
            const xcb_window_t window = children[i];
            Reply<xcb_get_window_attributes_reply_t> attributes{xcb_get_window_attributes_reply(
                connection, xcb_get_window_attributes(connection, window), nullptr)};
            if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
                attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY)
                continue;
            Reply<xcb_get_geometry_reply_t> geometry{
                xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr)};
            MappedWindow mapped;
            mapped.id = window;
            if (geometry)
                mapped.frame = QRect(geometry->x, geometry->y, geometry->width, geometry->height);
            mapped.name = textProperty(connection, window, XCB_ATOM_WM_NAME);
            if (netName != XCB_ATOM_NONE)
                mapped.title = textProperty(connection, window, netName);
            windows.append(mapped);
        }
    }
    xcb_disconnect(connection);
    return windows;
}

QList<MappedWindow> newWindows(const QList<MappedWindow> &before, const QList<MappedWindow> &now)
{
    QList<MappedWindow> added;
    for (const MappedWindow &window : now) {
        const bool known = std::any_of(before.cbegin(), before.cend(),
                                       [&](const MappedWindow &w) { return w.id == window.id; });
        if (!known)
            added.append(window);
    }
    return added;
}

} // namespace testing
