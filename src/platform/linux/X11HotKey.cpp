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

// The X keysym of `key`: letters, digits and F1 to F12; 0 for anything else.
xcb_keysym_t keysymFor(Qt::Key key)
{
    if (key >= Qt::Key_A && key <= Qt::Key_Z)
        return xcb_keysym_t('a' + (key - Qt::Key_A));
    if (key >= Qt::Key_0 && key <= Qt::Key_9)
        return xcb_keysym_t('0' + (key - Qt::Key_0));
    if (key >= Qt::Key_F1 && key <= Qt::Key_F12)
        return xcb_keysym_t(0xffbe + (key - Qt::Key_F1));
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
    : HotKey(parent), m_connection(shared), m_root(rootOf(shared, 0))
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
    if (!m_connection || m_root == XCB_NONE || !m_grabbed.isEmpty())
        return false;
    const xcb_keysym_t keysym = keysymFor(combination.key());
    if (keysym == 0)
        return false;

    xcb_key_symbols_t *symbols = xcb_key_symbols_alloc(m_connection);
    if (!symbols)
        return false;
    m_keycode = firstKeycode(symbols, keysym);
    m_lockMask = XCB_MOD_MASK_LOCK | numLockMask(m_connection, symbols);
    xcb_key_symbols_free(symbols);
    if (m_keycode == XCB_NO_SYMBOL)
        return false;
    m_modifiers = modifierMask(combination.keyboardModifiers());

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
    if (m_notifier)
        QTimer::singleShot(0, this, &X11HotKey::readOwnConnection);
    return !taken;
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
    if (m_grabbed.isEmpty() || (event->response_type & ~0x80) != XCB_KEY_PRESS)
        return false;
    const auto *press = static_cast<const xcb_key_press_event_t *>(message);
    if (press->event != m_root || press->detail != m_keycode ||
        (press->state & modifierBits & ~m_lockMask) != m_modifiers)
        return false;
    // Like the handler of a system hot key: schedule the work and return at once.
    QTimer::singleShot(0, this, [this] { Q_EMIT activated(); });
    return true;
}
