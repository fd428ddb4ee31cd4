#pragma once

#include "ui/Format.h"

#include <QJsonObject>

// The panel item's tool tip, for panels that show the title without the popover's detail.
namespace ui {

// How the summary gives the age of its numbers: relative ("live · 42s", "as of 5 minutes ago")
// where it is worded as it is read, a clock time ("as of 14:05") where it may be shown long after.
enum class AgeForm { Relative, Clock };

// Worded from the status report (the --status-json object), one fact a line: the title, the
// public return against the S&P 500, the account's equity and today's result when a portfolio
// is there, then how fresh the numbers are (with the offline notice when they are the cache).
// Plain text: each panel escapes it as its format needs.
QString panelSummary(const QJsonObject &status, const QDateTime &now, bool isPT,
                     AgeForm form = AgeForm::Relative,
                     const FormatLocale &locale = FormatLocale::system());

} // namespace ui
