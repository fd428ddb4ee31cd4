#pragma once

#include "platform/linux/PulseBusClient.h"
#include "ui/Format.h"

#include <QJsonObject>

// What every panel shows for a status report, decided here once: the title, its tone ("gain"
// when its number is zero or more, "loss" below zero, none while nothing is known), whether the
// numbers behind it are the offline cache, the summary as the tool tip (its age as a clock time,
// so it changes only when the numbers do) and the chosen metric. The app publishes it on the
// bus; the surfaces that run alone print it.
pulse_bus::State panelState(const QJsonObject &status, bool isPT,
                            const ui::FormatLocale &locale = ui::FormatLocale::system());

// Whether the metric is one of the account's, which falls back to the public title without one.
bool metricNeedsAccount(const QString &metric);
