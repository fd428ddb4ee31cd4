#include "app/PanelState.h"

#include "pulse/PulseStore.h"
#include "ui/PanelSummary.h"

#include <QJsonDocument>

bool metricNeedsAccount(const QString &metric)
{
    return metric == u"pct" || metric == u"pnl" || metric == u"pnlTotal";
}

pulse_bus::State panelState(const QJsonObject &status, bool isPT, const ui::FormatLocale &locale)
{
    const QJsonObject pulse = status.value(QStringLiteral("public")).toObject();
    const QJsonObject account = status.value(QStringLiteral("account")).toObject();
    const QString title = status.value(QStringLiteral("title")).toString();
    const QString metric = status.value(QStringLiteral("metric")).toString();
    const QJsonValue returnPct = pulse.value(QStringLiteral("returnPct"));

    pulse_bus::State state;
    state.title = title.isEmpty() ? PulseStore::titleFor(std::nullopt) : title;
    state.status = QString::fromUtf8(QJsonDocument(status).toJson(QJsonDocument::Compact));
    // A clock time needs no "now".
    state.toolTip = ui::panelSummary(status, {}, isPT, ui::AgeForm::Clock, locale);
    state.metric = metric.isEmpty() ? QStringLiteral("book") : metric;
    // The title carries the sign of its number: "+" exactly when it is zero or positive.
    if (title.startsWith(u"M +"))
        state.tone = QStringLiteral("gain");
    else if (title.startsWith(u"M -"))
        state.tone = QStringLiteral("loss");

    const std::optional<double> publicReturn =
        returnPct.isDouble() ? std::optional(returnPct.toDouble()) : std::nullopt;
    const bool fromAccount =
        metricNeedsAccount(metric) && title != PulseStore::titleFor(publicReturn);
    state.stale = fromAccount ? account.value(QStringLiteral("lastError")).isString()
                              : publicReturn && pulse.value(QStringLiteral("lastError")).isString();
    return state;
}
