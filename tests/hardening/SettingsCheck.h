#pragma once

#include "account/AccountRecords.h"

#include <QDateTime>
#include <QSettings>
#include <QStringList>

namespace testing {

// A settings file left at any moment parses, its caches are whole (a cached return has its fetch
// time) and decode. One line per broken rule.
inline QStringList settingsProblems(const QString &path)
{
    QStringList problems;
    QSettings settings(path, QSettings::IniFormat);
    if (settings.status() != QSettings::NoError)
        return {QStringLiteral("the settings file does not parse")};

    const QVariant fetchedAt = settings.value(QStringLiteral("cache.pulse.fetchedAt"));
    const bool hasFetchedAt = fetchedAt.isValid();
    if (hasFetchedAt &&
        !(fetchedAt.typeId() == QMetaType::QDateTime && fetchedAt.toDateTime().isValid()))
        problems << QStringLiteral("cache.pulse.fetchedAt is not a date");
    const QVariant returnPct = settings.value(QStringLiteral("cache.pulse.returnPct"));
    if (returnPct.isValid() && !hasFetchedAt)
        problems << QStringLiteral("cache.pulse.returnPct without cache.pulse.fetchedAt");
    bool isNumber = false;
    if (returnPct.isValid() && (returnPct.toDouble(&isNumber), !isNumber))
        problems << QStringLiteral("cache.pulse.returnPct is not a number");
    if (hasFetchedAt && !settings.contains(QStringLiteral("cache.pulse.positions")))
        problems << QStringLiteral("cache.pulse.fetchedAt without cache.pulse.positions");

    const QVariant portfolio = settings.value(QStringLiteral("cache.portfolio.json"));
    if (portfolio.isValid() && !decodePortfolio(portfolio.toByteArray()))
        problems << QStringLiteral("cache.portfolio.json does not decode");
    return problems;
}

} // namespace testing
