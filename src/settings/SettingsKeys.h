#pragma once

#include <QLatin1StringView>

// Every key of the settings file, in one place: dotted lower-camel names grouped by owner. An
// absent optional value is a removed key. Secrets never have one.
namespace settings_keys {

using namespace Qt::StringLiterals;

// The user's choices.
inline constexpr QLatin1StringView menuMetric = "menu.metric"_L1;
inline constexpr QLatin1StringView language = "app.language"_L1;
// Earlier releases had only a switch between the public and the personal title.
inline constexpr QLatin1StringView legacyPersonalTitle = "menu.personal"_L1;

// The last good public numbers.
inline constexpr QLatin1StringView pulseFetchedAt = "cache.pulse.fetchedAt"_L1;
inline constexpr QLatin1StringView pulseReturnPct = "cache.pulse.returnPct"_L1;
inline constexpr QLatin1StringView pulseVsSpy = "cache.pulse.vsSpy"_L1;
inline constexpr QLatin1StringView pulsePositions = "cache.pulse.positions"_L1;
inline constexpr QLatin1StringView pulseLastUpdate = "cache.pulse.lastUpdate"_L1;

// The last good portfolio, as the service sent it, and when it arrived.
inline constexpr QLatin1StringView portfolioJson = "cache.portfolio.json"_L1;
inline constexpr QLatin1StringView portfolioAsOf = "cache.portfolio.asOf"_L1;

// What was last announced, so each event is announced once across restarts.
inline constexpr QLatin1StringView lastDecisionAt = "notify.lastDecisionAt"_L1;
inline constexpr QLatin1StringView lastFillAt = "notify.lastFillAt"_L1;
inline constexpr QLatin1StringView killSwitchOn = "notify.killSwitchOn"_L1;

// The first-run window has been shown.
inline constexpr QLatin1StringView onboarded = "onboarded"_L1;
// The word on binding the hot key by hand, where the desktop gives apps none, has been said.
inline constexpr QLatin1StringView hotKeyNoticeShown = "notice.hotKeyBinding"_L1;

} // namespace settings_keys
