#pragma once

#include "account/AccountRecords.h"

#include <QString>
#include <optional>

// The panel title for the chosen metric: the account's return, today's or total result when
// the portfolio has what it needs, otherwise the public title.
QString menuTitleFor(const QString &metric, const std::optional<Portfolio> &portfolio,
                     const QString &publicTitle);
