#pragma once

#include <QObject>

class Defaults;
class HotKey;
class Notifier;

// The hot key's route in this session. On X11: the grab on the root window. On Wayland: the
// desktop portal's global shortcut; where the portal has none (or the user declined it), the
// grab through XWayland, which sees the key only while an X11 window has focus, and, once ever,
// a word on binding the panel's link to a key by hand.
class DesktopHotKey : public QObject
{
    Q_OBJECT
public:
    DesktopHotKey(Notifier &notifier, Defaults &defaults, QObject *parent = nullptr);

    void start();

Q_SIGNALS:
    void activated();

private:
    void use(HotKey *key);
    void tellOnce();

    Notifier &m_notifier;
    Defaults &m_defaults;
};
