#include "app/StatusReport.h"

#include "net/Flexible.h"
#include "pulse/PulseStore.h"

#include <QJsonArray>

namespace {

template <typename T> QJsonValue orNull(const std::optional<T> &value)
{
    return value ? QJsonValue(*value) : QJsonValue(QJsonValue::Null);
}

QJsonValue orNull(const std::optional<QDateTime> &value)
{
    return value ? QJsonValue(net::isoUtcMillis(*value)) : QJsonValue(QJsonValue::Null);
}

} // namespace

QJsonObject statusReport(const QString &title, const PulseStore &pulse)
{
    QJsonArray sparkline;
    for (double value : pulse.sparkline())
        sparkline.append(value);
    return QJsonObject{
        {QStringLiteral("title"), title},
        {QStringLiteral("public"),
         QJsonObject{
             {QStringLiteral("returnPct"), orNull(pulse.returnPct())},
             {QStringLiteral("vsSpyPct"), orNull(pulse.vsSpyPct())},
             {QStringLiteral("openPositions"), pulse.openPositions()},
             {QStringLiteral("lastUpdate"), orNull(pulse.lastUpdate())},
             {QStringLiteral("fetchedAt"), orNull(pulse.fetchedAt())},
             {QStringLiteral("lastError"), orNull(pulse.lastError())},
             {QStringLiteral("refreshing"), pulse.refreshing()},
             {QStringLiteral("sparkline"), sparkline},
         }},
    };
}
