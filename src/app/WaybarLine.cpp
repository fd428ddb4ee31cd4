#include "app/WaybarLine.h"

#include "pulse/PulseStore.h"
#include "ui/PanelSummary.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

bool needsAccount(const QString &metric)
{
    return metric == u"pct" || metric == u"pnl" || metric == u"pnlTotal";
}

} // namespace

QStringList panelClasses(const QJsonObject &status)
{
    const QJsonObject pulse = status.value(QStringLiteral("public")).toObject();
    const QJsonObject account = status.value(QStringLiteral("account")).toObject();
    const QString title = status.value(QStringLiteral("title")).toString();
    const QString metric = status.value(QStringLiteral("metric")).toString();
    const QJsonValue returnPct = pulse.value(QStringLiteral("returnPct"));

    QStringList classes;
    // The title carries the sign of its number: "+" exactly when it is zero or positive.
    if (title.startsWith(u"M +"))
        classes.append(QStringLiteral("gain"));
    else if (title.startsWith(u"M -"))
        classes.append(QStringLiteral("loss"));

    const std::optional<double> publicReturn =
        returnPct.isDouble() ? std::optional(returnPct.toDouble()) : std::nullopt;
    const bool fromAccount = needsAccount(metric) && title != PulseStore::titleFor(publicReturn);
    const bool stale = fromAccount
                           ? account.value(QStringLiteral("lastError")).isString()
                           : publicReturn && pulse.value(QStringLiteral("lastError")).isString();
    if (stale)
        classes.append(QStringLiteral("stale"));
    if (needsAccount(metric) && !account.value(QStringLiteral("signedIn")).toBool())
        classes.append(QStringLiteral("signed-out"));
    return classes;
}

QByteArray waybarLine(const QJsonObject &status, const QDateTime &now, bool isPT,
                      const ui::FormatLocale &locale)
{
    const QString title = status.value(QStringLiteral("title")).toString();
    const QString metric = status.value(QStringLiteral("metric")).toString();
    const QJsonObject line{
        {QStringLiteral("text"),
         (title.isEmpty() ? QStringLiteral("M\u00B7") : title).toHtmlEscaped()},
        {QStringLiteral("tooltip"),
         ui::panelSummary(status, now, isPT, ui::AgeForm::Clock, locale).toHtmlEscaped()},
        {QStringLiteral("class"), QJsonArray::fromStringList(panelClasses(status))},
        {QStringLiteral("alt"), metric.isEmpty() ? QStringLiteral("book") : metric}};
    return QJsonDocument(line).toJson(QJsonDocument::Compact);
}
