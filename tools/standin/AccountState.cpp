#include "AccountState.h"

#include "DemoBook.h"

#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace standin {

namespace {

// The service decides at 10:15 New York time on the day of `now`.
QDateTime decisionCycle(const QDateTime &now)
{
    const QTimeZone newYork("America/New_York");
    if (!newYork.isValid())
        return now;
    return QDateTime(now.toTimeZone(newYork).date(), QTime(10, 15), newYork);
}

QJsonObject trade(const char16_t *symbol, const char16_t *side, const QJsonValue &filledAt,
                  const QJsonValue &price)
{
    return QJsonObject{{u"symbol"_s, QString::fromUtf16(symbol)},
                       {u"side"_s, QString::fromUtf16(side)},
                       {u"status"_s, filledAt.isNull() ? u"new"_s : u"filled"_s},
                       {u"filled_at"_s, filledAt},
                       {u"fill_price"_s, price}};
}

} // namespace

QString timestampText(const QDateTime &at)
{
    return at.toUTC().toString(Qt::ISODateWithMs);
}

const AccountState::Decision &AccountState::decision() const
{
    seedIfNeeded();
    return m_decision;
}

void AccountState::setDecision(Decision decision)
{
    seedIfNeeded();
    m_decision = std::move(decision);
}

const QJsonArray &AccountState::trades() const
{
    seedIfNeeded();
    return m_trades;
}

void AccountState::addTrade(const QJsonObject &trade)
{
    seedIfNeeded();
    m_trades.append(trade);
}

void AccountState::reset()
{
    m_autoExecute = true;
    m_killSwitch = false;
    m_seeded = false;
}

void AccountState::seedIfNeeded() const
{
    if (m_seeded)
        return;
    m_seeded = true;
    const QDateTime now = m_book.now();
    const QDateTime cycle = decisionCycle(now);
    // A clock set before today's cycle gets a decision taken "now", never one in the future.
    m_decision = Decision{timestampText(std::min(cycle, now)), {u"AAPL"_s, u"MSFT"_s, u"NVDA"_s}};
    // The previous sessions' fills, minutes after their cycles, oldest first; one order still open.
    const QDateTime yesterday = cycle.addDays(-1);
    m_trades = QJsonArray{
        trade(u"AMZN", u"buy", timestampText(cycle.addDays(-2).addMSecs(962'118)), 178.42),
        trade(u"AAPL", u"buy", timestampText(yesterday.addMSecs(1'007'412)), 187.25),
        trade(u"AMZN", u"sell", timestampText(yesterday.addMSecs(1'069'530)), 181.9),
        trade(u"MSFT", u"buy", QJsonValue::Null, QJsonValue::Null),
    };
}

QString tradeProblem(const QJsonObject &trade)
{
    if (!trade.value(u"symbol"_s).isString())
        return u"a trade needs a string symbol"_s;
    for (const QString &key : trade.keys()) {
        const QJsonValue value = trade.value(key);
        if (key == u"symbol")
            continue;
        if (key == u"side" || key == u"status" || key == u"filled_at") {
            if (!value.isString() && !value.isNull())
                return key + u" must be a string or null"_s;
        } else if (key == u"fill_price") {
            if (!value.isDouble() && !value.isNull())
                return key + u" must be a number or null"_s;
        } else {
            return u"unknown trade key: "_s + key;
        }
    }
    return {};
}

} // namespace standin
