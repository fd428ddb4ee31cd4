#pragma once

#include <QJsonObject>
#include <QString>

class PulseStore;

// The machine-readable state behind --status-json: null for absent values, times in UTC.
QJsonObject statusReport(const QString &title, const PulseStore &pulse);
