#pragma once

#include "ui/PulseMenuModel.h"

// Popover inputs for the model and view tests: a signed-out user with public numbers, and an
// account with auto-execution on.
namespace testing {

// Friday 09:30 in New York: the day's cycle at 10:15 is 45 minutes away.
inline const QDateTime menuNow(QDate(2025, 3, 7), QTime(14, 30), Qt::UTC);

inline ui::PulseMenuInput signedOut()
{
    ui::PulseMenuInput in;
    in.now = menuNow;
    in.locale = {QStringLiteral("en_US"), "UTC"};
    in.returnPct = 12.345;
    in.vsSpyPct = 3.1;
    in.openPositions = 7;
    in.sparkline = {10, 11, 10.6, 11.8, 12.3};
    in.lastUpdate = menuNow.addSecs(-2 * 3600);
    in.fetchedAt = menuNow.addSecs(-300);
    return in;
}

inline QList<Position> positions(int count)
{
    static const char *const symbols[] = {"NVDA", "AAPL", "MSFT", "AMZN", "GOOGL",
                                          "META", "TSLA", "AVGO", "COST", "NFLX"};
    QList<Position> list;
    for (int i = 0; i < count; ++i)
        list.append({QString::fromLatin1(symbols[i % 10]), 25000.0 - 1500 * i, 10.0 * (i - 2),
                     1.5 * (i - 2)});
    return list;
}

inline ui::PulseMenuInput withAccount(int positionCount = 3)
{
    ui::PulseMenuInput in = signedOut();
    in.isSignedIn = true;
    Portfolio portfolio;
    portfolio.accounts = {Account{QStringLiteral("Paper"), QStringLiteral("paper"), 12000.0, 120.0,
                                  qint64(positionCount)}};
    portfolio.totals = Totals{12500.0, 120.0, 10000.0};
    portfolio.worker = Worker{QStringLiteral("running"), true, false, QStringLiteral("paper")};
    in.portfolio = portfolio;
    in.portfolioAsOf = menuNow.addSecs(-42);
    in.positions = positions(positionCount);
    return in;
}

template <typename Change> ui::PulseMenuInput with(ui::PulseMenuInput in, Change change)
{
    change(in);
    return in;
}

} // namespace testing
