#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace standin {

class DemoBook;

// The demo user's account switches, today's decision and recent trades. The opening decision and
// fills are dated by the stand-in's clock when first read, so a test that sets the clock after
// building the server still gets a decision for its own "today".
class AccountState
{
public:
    struct Decision
    {
        QString decidedAt; // null: no decision yet, the answer carries no decidedAt
        QStringList symbols;
    };

    explicit AccountState(const DemoBook &book) : m_book(book) {}

    bool autoExecuteEnabled() const { return m_autoExecute; }
    void setAutoExecuteEnabled(bool enabled) { m_autoExecute = enabled; }
    bool killSwitch() const { return m_killSwitch; }
    void setKillSwitch(bool engaged) { m_killSwitch = engaged; }

    const Decision &decision() const;
    void setDecision(Decision decision);
    // As the trades record has them, in the order they were added.
    const QJsonArray &trades() const;
    void addTrade(const QJsonObject &trade);

    void reset();

private:
    void seedIfNeeded() const;

    const DemoBook &m_book;
    bool m_autoExecute = true;
    bool m_killSwitch = false;
    mutable bool m_seeded = false;
    mutable Decision m_decision;
    mutable QJsonArray m_trades;
};

// Why `trade` is not a trade object as the trades record has it; empty when it is.
QString tradeProblem(const QJsonObject &trade);

// The wire's timestamp form: UTC with milliseconds.
QString timestampText(const QDateTime &at);

} // namespace standin
