#pragma once

#include "ui/Format.h"

#include <QByteArray>
#include <QJsonObject>
#include <QStringList>

// The panel's CSS classes for a status report: "gain" or "loss" by the title's sign (none while
// nothing is known), "stale" when the numbers behind the title are the offline cache,
// "signed-out" when the chosen metric needs an account that is not there.
QStringList panelClasses(const QJsonObject &status);

// One line in waybar's custom-module format: text (the title), tooltip (the panel summary, its
// age as a clock time: a streamed line stays on show until the next change), class
// (panelClasses) and alt (the chosen metric). Waybar reads text and tooltip as Pango
// markup, so both are escaped; the line is valid JSON whatever the title holds.
QByteArray waybarLine(const QJsonObject &status, const QDateTime &now, bool isPT,
                      const ui::FormatLocale &locale = ui::FormatLocale::system());
