#pragma once

#include "base/AppNames.h"

#include <QString>
#include <QUrl>
#include <functional>

// Where a URL of the app's scheme goes.
enum class UrlRoute {
    Ignore,           // not a URL
    ToggleQuickPanel, // host "open" or "pulse", exactly
    AuthCallback,     // everything else, the sign-in redirect and host-less URLs included
};

// The scheme the desktop entry registers and the sign-in redirect uses.
inline constexpr auto &callbackScheme = app_names::urlScheme;

// The route for `text`. The host is compared as written: QUrl lower-cases hosts, and
// "mireopulse://OPEN" must not open the panel. The scheme is not looked at here.
UrlRoute routeUrl(const QString &text);

// The host exactly as written in `text` (no user info, no port), or empty when there is none.
QString literalHost(const QString &text);

// Whether `text` is a URL of our own scheme: what the desktop hands us, so the command line and
// the single-instance socket accept nothing else, as a platform that delivers only declared
// schemes would.
bool isCallbackUrl(const QString &text);

struct UrlHandlers
{
    std::function<void()> toggleQuickPanel;
    std::function<void(const QUrl &)> handleCallback;
};

// Routes `text` and calls the matching handler; an ignored text calls none.
void deliverUrl(const QString &text, const UrlHandlers &handlers);
