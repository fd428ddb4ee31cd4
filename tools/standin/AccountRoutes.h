#pragma once

#include <QJsonObject>

namespace standin {

class AccountState;
class DemoBook;
class Router;
class SessionTokens;

// The demo user's account endpoints under /api/mobile/, each behind a bearer check.
void addAccountRoutes(Router &router, const DemoBook &book, AccountState &account,
                      const SessionTokens &tokens);

QJsonObject portfolioJson(const DemoBook &book, const AccountState &account);
QJsonObject positionsJson(const DemoBook &book);
QJsonObject swingJson(const AccountState &account);
QJsonObject tradesJson(const AccountState &account);

} // namespace standin
