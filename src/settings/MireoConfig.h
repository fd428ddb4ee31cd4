#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <chrono>

// The fixed endpoints and identity of this build.
namespace MireoConfig {

// Sent as User-Agent with every request.
inline constexpr char userAgent[] = "MireoDesktopNative/0.1";

// The service's web origin: public and account endpoints lie under it.
const QUrl &siteURL();
// The sign-in backend's origin.
const QUrl &supabaseURL();
// The sign-in backend's public anonymous key, sent as `apikey` on token requests.
QByteArray supabaseAnonKey();
// The keychain service the refresh token is filed under.
QString keychainService();

// How often the shell polls the account: a minute. Development builds let
// MIREO_POLL_INTERVAL_MS shorten it, so end-to-end tests need not wait minutes.
std::chrono::milliseconds accountPollInterval();

} // namespace MireoConfig
