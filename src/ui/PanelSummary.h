#pragma once

#include "ui/Format.h"

#include <QJsonObject>

// The panel item's tool tip, for panels that show the title without the popover's detail.
namespace ui {

// Worded from the status report (the --status-json object), one fact a line: the title, the
// public return against the S&P 500, the account's equity and today's result when a portfolio
// is there, then how fresh the numbers are (with the offline notice when they are the cache).
// Plain text: each panel escapes it as its format needs.
QString panelSummary(const QJsonObject &status, const QDateTime &now, bool isPT,
                     const FormatLocale &locale = FormatLocale::system());

} // namespace ui
