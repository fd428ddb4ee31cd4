#pragma once

#include "platform/linux/PulseBusClient.h"

#include <QByteArray>
#include <QStringList>

// The panel's CSS classes: the tone ("gain" or "loss"), "stale" when the numbers behind the
// title are the offline cache, "signed-out" when the chosen metric needs an account that is not
// there.
QStringList panelClasses(const pulse_bus::State &state);

// One line in waybar's custom-module format: text (the title), tooltip (the summary), class
// (panelClasses) and alt (the chosen metric). Waybar reads text and tooltip as Pango markup,
// so both are escaped; the line is valid JSON whatever the title holds.
QByteArray waybarLine(const pulse_bus::State &state);
