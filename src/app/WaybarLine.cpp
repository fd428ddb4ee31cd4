#include "app/WaybarLine.h"

#include "app/PanelState.h"
#include "pulse/PulseStore.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

QStringList panelClasses(const pulse_bus::State &state)
{
    QStringList classes;
    if (!state.tone.isEmpty())
        classes.append(state.tone);
    if (state.stale)
        classes.append(QStringLiteral("stale"));
    const QJsonObject account = QJsonDocument::fromJson(state.status.toUtf8())
                                    .object()
                                    .value(QStringLiteral("account"))
                                    .toObject();
    if (metricNeedsAccount(state.metric) && !account.value(QStringLiteral("signedIn")).toBool())
        classes.append(QStringLiteral("signed-out"));
    return classes;
}

QByteArray waybarLine(const pulse_bus::State &state)
{
    const QString text = state.title.isEmpty() ? PulseStore::titleFor(std::nullopt) : state.title;
    const QJsonObject line{
        {QStringLiteral("text"), text.toHtmlEscaped()},
        {QStringLiteral("tooltip"),
         (state.toolTip.isEmpty() ? text : state.toolTip).toHtmlEscaped()},
        {QStringLiteral("class"), QJsonArray::fromStringList(panelClasses(state))},
        {QStringLiteral("alt"), state.metric.isEmpty() ? QStringLiteral("book") : state.metric}};
    return QJsonDocument(line).toJson(QJsonDocument::Compact);
}
