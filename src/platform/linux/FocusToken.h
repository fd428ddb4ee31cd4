#pragma once

#include <QString>
#include <QMetaType>
#include <QVariantMap>

// The tokens a launcher gives so the window an app opens for it gets the focus, which a
// compositor's focus-stealing prevention may otherwise refuse: "activation-token" (Wayland's
// xdg-activation) and "desktop-startup-id" (X11 startup notification), in the platform_data of
// org.freedesktop.Application's Activate and Open, or in a launch's environment.
namespace focus_token {

inline constexpr char waylandKey[] = "activation-token";
inline constexpr char x11Key[] = "desktop-startup-id";

struct Tokens
{
    QString wayland;
    QString x11;
};

// What may be used of platform_data: a short printable string per key; anything else is
// dropped. A token only asks the compositor for the focus; it decides nothing.
Tokens read(const QVariantMap &platformData);

// platform_data for a launch that hands over to the running app: the tokens this process was
// started with, meant for the window the running app now opens.
QVariantMap inherited();

} // namespace focus_token

Q_DECLARE_METATYPE(focus_token::Tokens)
