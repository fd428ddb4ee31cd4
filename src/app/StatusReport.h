#pragma once

#include <QJsonObject>
#include <QString>

class AuthStore;
class PulseStore;

// The machine-readable state behind --status-json: null for absent values, times in UTC,
// account records under their wire names, and the chosen menu metric. Never carries a token.
QJsonObject statusReport(const QString &title, const PulseStore &pulse, const AuthStore &auth);
