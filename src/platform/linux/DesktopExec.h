#pragma once

#include <QString>

// How the desktop's launch files take a command's arguments. One place, so the menu entry, the
// autostart entry and the bus service file quote a path the same way.
namespace desktop_exec {

// One argument quoted as a shell would read it, as D-Bus service files take it.
QString quotedArgument(const QString &argument);
// One argument of a desktop entry's Exec key: "%" doubled (it starts a field code otherwise),
// quoted as above, then every backslash escaped once more, as in every string value.
QString execArgument(const QString &argument);

// What the launches that are not the user's (at login, by D-Bus activation) pass, so that one
// that finds the app already running leaves quietly instead of toggling its panel.
inline constexpr char backgroundArgument[] = "--background";

} // namespace desktop_exec
