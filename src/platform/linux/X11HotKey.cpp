#include "platform/linux/X11HotKey.h"

#include <QGuiApplication>
#include <QSocketNotifier>
#include <QTimer>
#include <cstdlib>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

namespace {
constexpr xcb_keysym_t numLockKeysym = 0xff7f;
constexpr std::uint16_t modifierBits = 0xff;
constexpr std::uint8_t xkbNewKeyboardNotify = 0;
constexpr std::uint8_t xkbMapNotify = 1;

// The key code of the key where `key` sits on a US keyboard, whatever the layout: letters,
// digits and F1 to F12; 0 for anything else. X servers on Linux (XWayland included) number
// keys by their evdev code plus 8, so a key code names a physical key.
xcb_keycode_t physicalKeycode(Qt::Key key)
{
    // Rows of the US layout, left to right, from the key code of each row's first key.
    static constexpr struct
    {
        const char *keys;
        xcb_keycode_t first;
    } rows[] = {{"1234567890", 10}, {"QWERTYUIOP", 24}, {"ASDFGHJKL", 38}, {"ZXCVBNM", 52}};
    if ((key >= Qt::Key_A && key <= Qt::Key_Z) || (key >= Qt::Key_0 && key <= Qt::Key_9)) {
        for (const auto &row : rows)
            for (int i = 0; row.keys[i]; ++i)
                if (row.keys[i] == char(key))
                    return xcb_keycode_t(row.first + i);
    }
    if (key >= Qt::Key_F1 && key <= Qt::Key_F10)
        return xcb_keycode_t(67 + (key - Qt::Key_F1));
    if (key == Qt::Key_F11 || key == Qt::Key_F12)
        return xcb_keycode_t(95 + (key - Qt::Key_F11));
    return 0;
}

std::uint16_t modifierMask(Qt::KeyboardModifiers modifiers)
{
    std::uint16_t mask = 0;
    if (modifiers & Qt::ShiftModifier)
        mask |= XCB_MOD_MASK_SHIFT;
    if (modifiers & Qt::ControlModifier)
        mask |= XCB_MOD_MASK_CONTROL;
    if (modifiers & Qt::AltModifier)
        mask |= XCB_MOD_MASK_1;
    if (modifiers & Qt::MetaModifier)
        mask |= XCB_MOD_MASK_4;
    return mask;
}

xcb_keycode_t firstKeycode(xcb_key_symbols_t *symbols, xcb_keysym_t keysym)
{
    xcb_keycode_t *codes = xcb_key_symbols_get_keycode(symbols, keysym);
    const xcb_keycode_t code = codes ? codes[0] : XCB_NO_SYMBOL;
    std::free(codes);
    return code;
}

// The modifier bit Num Lock sets in this server's map; Mod2 when it cannot be found.
std::uint16_t numLockMask(xcb_connection_t *connection, xcb_key_symbols_t *symbols)
{
    const xcb_keycode_t numLock = firstKeycode(symbols, numLockKeysym);
    xcb_get_modifier_mapping_reply_t *reply =
        xcb_get_modifier_mapping_reply(connection, xcb_get_modifier_mapping(connection), nullptr);
    std::uint16_t mask = XCB_MOD_MASK_2;
    if (reply && numLock != XCB_NO_SYMBOL) {
        const xcb_keycode_t *codes = xcb_get_modifier_mapping_keycodes(reply);
        const int perModifier = reply->keycodes_per_modifier;
        for (int i = 0; i < 8 * perModifier; ++i) {
            if (codes[i] == numLock) {
                mask = std::uint16_t(1u << (i / perModifier));
                break;
            }
        }
    }
    std::free(reply);
    return mask;
}

// The event code of the keyboard extension's events on `connection`, or 0 without it.
std::uint8_t xkbEventBase(xcb_connection_t *connection)
{
    static constexpr char name[] = "XKEYBOARD";
    xcb_query_extension_reply_t *reply = xcb_query_extension_reply(
        connection, xcb_query_extension(connection, sizeof name - 1, name), nullptr);
    const std::uint8_t base = reply && reply->present ? reply->first_event : 0;
    std::free(reply);
    return base;
}

xcb_window_t rootOf(xcb_connection_t *connection, int screenNumber)
{
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    return screens.rem > 0 ? screens.data->root : XCB_NONE;
}
} // namespace

X11HotKey *X11HotKey::create(QObject *parent)
{
#if QT_CONFIG(xcb)
    if (auto *x11 =
            qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr) {
        if (x11->connection())
            return new X11HotKey(x11->connection(), parent);
    }
#endif
    return new X11HotKey(qgetenv("DISPLAY"), parent);
}

X11HotKey::X11HotKey(xcb_connection_t *shared, QObject *parent)
    : HotKey(parent), m_connection(shared), m_root(rootOf(shared, 0)),
      m_xkbEventBase(xkbEventBase(shared))
{
    QCoreApplication::instance()->installNativeEventFilter(this);
}

X11HotKey::X11HotKey(const QByteArray &display, QObject *parent) : HotKey(parent)
{
    if (display.isEmpty())
        return;
    int screenNumber = 0;
    xcb_connection_t *connection = xcb_connect(display.constData(), &screenNumber);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return;
    }
    m_connection = connection;
    m_ownsConnection = true;
    m_root = rootOf(connection, screenNumber);
    m_xkbEventBase = xkbEventBase(connection);
    m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection),
                                                   QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &X11HotKey::readOwnConnection);
}

X11HotKey::~X11HotKey()
{
    if (!m_connection)
        return;
    ungrabAll();
    m_notifier.reset();
    if (m_ownsConnection)
        xcb_disconnect(m_connection);
}

bool X11HotKey::registerCombination(QKeyCombination combination)
{
    if (!m_connection || m_root == XCB_NONE || m_registered)
        return false;
    m_keycode = physicalKeycode(combination.key());
    if (m_keycode == 0)
        return false;
    m_modifiers = modifierMask(combination.keyboardModifiers());
    m_registered = true;
    const bool grabbed = grab();
    if (m_notifier)
        QTimer::singleShot(0, this, &X11HotKey::readOwnConnection);
    return grabbed;
}

std::uint16_t X11HotKey::currentLockMask() const
{
    xcb_key_symbols_t *symbols = xcb_key_symbols_alloc(m_connection);
    if (!symbols)
        return XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2;
    const std::uint16_t mask = XCB_MOD_MASK_LOCK | numLockMask(m_connection, symbols);
    xcb_key_symbols_free(symbols);
    return mask;
}

bool X11HotKey::grab()
{
    m_lockMask = currentLockMask();
    // The same combination with each state of Caps Lock and Num Lock.
    const std::uint16_t numLock = m_lockMask & ~XCB_MOD_MASK_LOCK;
    const std::uint16_t variants[] = {0, XCB_MOD_MASK_LOCK, numLock,
                                      std::uint16_t(XCB_MOD_MASK_LOCK | numLock)};
    QList<xcb_void_cookie_t> cookies;
    for (const std::uint16_t locks : variants) {
        const std::uint16_t modifiers = m_modifiers | locks;
        cookies.append(xcb_grab_key_checked(m_connection, 1, m_root, modifiers, m_keycode,
                                            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        m_grabbed.append(modifiers);
    }
    bool taken = false;
    for (const xcb_void_cookie_t cookie : cookies) {
        if (xcb_generic_error_t *error = xcb_request_check(m_connection, cookie)) {
            taken = true;
            std::free(error);
        }
    }
    // Another client holds (part of) the combination: release ours and stay inert.
    if (taken)
        ungrabAll();
    xcb_flush(m_connection);
    return !taken;
}

void X11HotKey::keyboardChanged()
{
    // The key code names the physical key, so a new layout keeps it; the lock modifiers may
    // have moved with the new modifier map.
    if (!m_registered || m_grabbed.isEmpty() || currentLockMask() == m_lockMask)
        return;
    ungrabAll();
    grab();
}

void X11HotKey::ungrabAll()
{
    for (const std::uint16_t modifiers : std::as_const(m_grabbed))
        xcb_ungrab_key(m_connection, m_keycode, m_root, modifiers);
    m_grabbed.clear();
    xcb_flush(m_connection);
}

bool X11HotKey::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    return eventType == "xcb_generic_event_t" && handle(message);
}

void X11HotKey::readOwnConnection()
{
    while (xcb_generic_event_t *event = xcb_poll_for_event(m_connection)) {
        handle(event);
        std::free(event);
    }
    // The server went away: nothing more will come.
    if (xcb_connection_has_error(m_connection))
        m_notifier->setEnabled(false);
}

bool X11HotKey::handle(const void *message)
{
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    const std::uint8_t type = event->response_type & ~0x80;
    // A new layout or keymap: seen after Qt (whose handler this does not take) has read it.
    if (type == XCB_MAPPING_NOTIFY ||
        (m_xkbEventBase && type == m_xkbEventBase &&
         (event->pad0 == xkbNewKeyboardNotify || event->pad0 == xkbMapNotify))) {
        QTimer::singleShot(0, this, &X11HotKey::keyboardChanged);
        return false;
    }
    if (m_grabbed.isEmpty() || type != XCB_KEY_PRESS)
        return false;
    const auto *press = static_cast<const xcb_key_press_event_t *>(message);
    // Usually the press comes through our grab on the root window; while one of our popups
    // holds the keyboard it comes to that popup instead, and it is still ours to take.
    if (press->detail != m_keycode || (press->state & modifierBits & ~m_lockMask) != m_modifiers)
        return false;
    // Like the handler of a system hot key: schedule the work and return at once.
    QTimer::singleShot(0, this, [this] { Q_EMIT activated(); });
    return true;
}
