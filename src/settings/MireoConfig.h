#pragma once

#include <QUrl>

// The fixed endpoints and identity of this build.
namespace MireoConfig {

// Sent as User-Agent with every request.
inline constexpr char userAgent[] = "MireoDesktopNative/0.1";

// The service's web origin: public and account endpoints lie under it.
const QUrl &siteURL();
// The sign-in backend's origin.
const QUrl &supabaseURL();

} // namespace MireoConfig
