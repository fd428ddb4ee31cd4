#pragma once

#include "app/HotKey.h"

#include <QAbstractNativeEventFilter>
#include <QByteArray>
#include <QList>
#include <cstdint>
#include <memory>

struct xcb_connection_t;
class QSocketNotifier;

// The hot key as a passive key grab on the X11 root window (XWayland included), once per
// combination of the lock modifiers so Caps Lock and Num Lock do not disarm it. The key is the
// physical one where the combination's key sits on a US keyboard, whatever the layout (under
// Dvorak Alt+Shift+K is the key that types "t"); a change of layout or modifier map while
// running is followed. Without an X server, or when another client holds the grab, it stays
// inert.
class X11HotKey final : public HotKey, private QAbstractNativeEventFilter
{
    Q_OBJECT
public:
    // On the application's own X connection when Qt runs on xcb, with its events read by a
    // native event filter; otherwise on a connection of its own to $DISPLAY, if there is one.
    static X11HotKey *create(QObject *parent = nullptr);

    // On a connection of its own to `display` (e.g. ":5"); inert when that fails.
    explicit X11HotKey(const QByteArray &display, QObject *parent = nullptr);
    ~X11HotKey() override;

    bool registerCombination(QKeyCombination combination) override;

private:
    X11HotKey(xcb_connection_t *shared, QObject *parent);
    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;
    void readOwnConnection();
    bool handle(const void *event);
    bool grab();
    void ungrabAll();
    void keyboardChanged();
    std::uint16_t currentLockMask() const;

    xcb_connection_t *m_connection = nullptr;
    bool m_ownsConnection = false;
    std::uint32_t m_root = 0;
    std::uint8_t m_xkbEventBase = 0;
    bool m_registered = false;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::uint8_t m_keycode = 0;
    std::uint16_t m_modifiers = 0;
    std::uint16_t m_lockMask = 0;
    QList<std::uint16_t> m_grabbed;
};
