#include "app/StatusReport.h"

#include "account/AuthStore.h"
#include "base/Flexible.h"
#include "pulse/PulseStore.h"
#include "settings/AppSettings.h"

#include <QJsonArray>

namespace {

template <typename T> QJsonValue orNull(const std::optional<T> &value)
{
    return value ? QJsonValue(*value) : QJsonValue(QJsonValue::Null);
}

QJsonValue orNull(const std::optional<QDateTime> &value)
{
    return value ? QJsonValue(base::isoUtcMillis(*value)) : QJsonValue(QJsonValue::Null);
}

template <typename T, typename ToJson>
QJsonValue orNull(const std::optional<T> &value, ToJson toJson)
{
    return value ? QJsonValue(toJson(*value)) : QJsonValue(QJsonValue::Null);
}

QJsonObject totalsJson(const Totals &totals)
{
    return {{QStringLiteral("equity"), orNull(totals.equity)},
            {QStringLiteral("todayPnl"), orNull(totals.todayPnl)},
            {QStringLiteral("baseline"), orNull(totals.baseline)}};
}

QJsonObject workerJson(const Worker &worker)
{
    return {{QStringLiteral("status"), orNull(worker.status)},
            {QStringLiteral("autoExecuteEnabled"), orNull(worker.autoExecuteEnabled)},
            {QStringLiteral("killSwitch"), orNull(worker.killSwitch)},
            {QStringLiteral("tradingMode"), orNull(worker.tradingMode)}};
}

QJsonArray accountsJson(const QList<Account> &accounts)
{
    QJsonArray array;
    for (const Account &account : accounts)
        array.append(QJsonObject{{QStringLiteral("label"), orNull(account.label)},
                                 {QStringLiteral("environment"), orNull(account.environment)},
                                 {QStringLiteral("equity"), orNull(account.equity)},
                                 {QStringLiteral("todayPnl"), orNull(account.todayPnl)},
                                 {QStringLiteral("positions"), orNull(account.positions)}});
    return array;
}

QJsonObject decisionJson(const TodayDecision &decision)
{
    return {{QStringLiteral("decidedAt"), decision.decidedAt},
            {QStringLiteral("symbols"), QJsonArray::fromStringList(decision.symbols)}};
}

QJsonArray positionsJson(const QList<Position> &positions)
{
    QJsonArray array;
    for (const Position &position : positions)
        array.append(
            QJsonObject{{QStringLiteral("symbol"), position.symbol},
                        {QStringLiteral("marketValue"), orNull(position.marketValue)},
                        {QStringLiteral("unrealizedPl"), orNull(position.unrealizedPl)},
                        {QStringLiteral("unrealizedPlpc"), orNull(position.unrealizedPlpc)}});
    return array;
}

QJsonObject publicJson(const PulseStore &pulse)
{
    QJsonArray sparkline;
    for (double value : pulse.sparkline())
        sparkline.append(value);
    return {{QStringLiteral("returnPct"), orNull(pulse.returnPct())},
            {QStringLiteral("vsSpyPct"), orNull(pulse.vsSpyPct())},
            {QStringLiteral("openPositions"), pulse.openPositions()},
            {QStringLiteral("lastUpdate"), orNull(pulse.lastUpdate())},
            {QStringLiteral("fetchedAt"), orNull(pulse.fetchedAt())},
            {QStringLiteral("lastError"), orNull(pulse.lastError())},
            {QStringLiteral("refreshing"), pulse.refreshing()},
            {QStringLiteral("sparkline"), sparkline}};
}

QJsonObject accountJson(const AuthStore &auth)
{
    const std::optional<Portfolio> &portfolio = auth.portfolio();
    const auto fromPortfolio = [&portfolio](auto member) {
        return portfolio ? member(*portfolio) : QJsonValue(QJsonValue::Null);
    };
    return {
        {QStringLiteral("signedIn"), auth.isSignedIn()},
        {QStringLiteral("signingIn"), auth.signingIn()},
        {QStringLiteral("lastError"), orNull(auth.lastError())},
        {QStringLiteral("portfolioAsOf"), orNull(auth.portfolioAsOf())},
        {QStringLiteral("plan"), fromPortfolio([](const Portfolio &p) { return orNull(p.plan); })},
        {QStringLiteral("totals"),
         fromPortfolio([](const Portfolio &p) { return orNull(p.totals, totalsJson); })},
        {QStringLiteral("worker"),
         fromPortfolio([](const Portfolio &p) { return orNull(p.worker, workerJson); })},
        {QStringLiteral("accounts"),
         fromPortfolio([](const Portfolio &p) { return QJsonValue(accountsJson(p.accounts)); })},
        {QStringLiteral("openPositions"),
         fromPortfolio([](const Portfolio &p) { return QJsonValue(p.openPositions()); })},
        {QStringLiteral("todayDecision"), orNull(auth.todayDecision(), decisionJson)},
        {QStringLiteral("positions"), positionsJson(auth.positions())},
    };
}

} // namespace

QJsonObject statusReport(const QString &title, const PulseStore &pulse, const AuthStore &auth)
{
    return {{QStringLiteral("title"), title},
            {QStringLiteral("public"), publicJson(pulse)},
            {QStringLiteral("account"), accountJson(auth)},
            {QStringLiteral("metric"), AppSettings::shared().menuMetric()}};
}
