#pragma once

#include "base/AppNames.h"

#include <QString>

// The desktop entry that gives the app a place in menus and makes it the handler of
// mireopulse:// links. An installed build has it from `cmake --install`; a build run from its
// build folder writes its own into the user's data folder on first run.
namespace DesktopEntry {

inline constexpr auto fileName = app_names::desktopEntryFile;
// Lets the session bus start the app for a launcher's Activate or Open.
inline constexpr auto busServiceFileName = app_names::busServiceFile;
inline constexpr auto schemeMimeType = "x-scheme-handler/" MIREO_URL_SCHEME;

// True when the binary sits in a prefix that also holds the installed entry.
bool isInstalled(const QString &binaryPath);

// The entry's text for a binary at this path, quoted as the Exec key requires.
QString entryFor(const QString &binaryPath);

// The bus service file's text for a binary at this path.
QString busServiceFor(const QString &binaryPath);

// For a build that is not installed: writes the entry (Exec = this binary), the bus service
// file and the icon under $XDG_DATA_HOME unless they already point here, then runs xdg-mime and
// update-desktop-database when they exist. Returns true when it wrote the entry.
bool registerForUser(const QString &binaryPath);

} // namespace DesktopEntry
