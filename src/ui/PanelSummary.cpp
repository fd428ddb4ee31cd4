#include "ui/PanelSummary.h"

#include "base/Flexible.h"
#include "pulse/PulseStore.h"

#include <QJsonArray>
#include <QStringList>

namespace ui {

namespace {

std::optional<double> number(const QJsonValue &value)
{
    return value.isDouble() ? std::optional(value.toDouble()) : std::nullopt;
}

std::optional<QString> text(const QJsonValue &value)
{
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

std::optional<QDateTime> date(const QJsonValue &value)
{
    return value.isString() ? base::flexible(value.toString()) : std::nullopt;
}

// The older of two optional dates: the tool tip is as fresh as its stalest number.
std::optional<QDateTime> older(std::optional<QDateTime> a, std::optional<QDateTime> b)
{
    if (a && b)
        return std::min(*a, *b);
    return a ? a : b;
}

} // namespace

QString panelSummary(const QJsonObject &status, const QDateTime &now, bool isPT, AgeForm form,
                     const FormatLocale &locale)
{
    const auto tr = [isPT](const char *english, const char *portuguese) {
        return QString::fromUtf8(isPT ? portuguese : english);
    };
    const QJsonObject pulse = status.value(QStringLiteral("public")).toObject();
    const QJsonObject account = status.value(QStringLiteral("account")).toObject();
    const QString title = status.value(QStringLiteral("title")).toString();
    QStringList lines{title.isEmpty() ? PulseStore::titleFor(std::nullopt) : title};
    QStringList age;
    std::optional<QDateTime> asOf;

    const std::optional<QString> pulseError = text(pulse.value(QStringLiteral("lastError")));
    if (const auto returnPct = number(pulse.value(QStringLiteral("returnPct")))) {
        QString line = tr("Public book ", "Livro público ") + signedPercent(*returnPct);
        if (const auto vsSpy = number(pulse.value(QStringLiteral("vsSpyPct"))))
            line += QStringLiteral(" · ") + signedPercent(*vsSpy) + QStringLiteral(" vs S&P 500");
        lines.append(line);
        if (pulseError)
            age.append(*pulseError);
        asOf = date(pulse.value(QStringLiteral("fetchedAt")));
    } else {
        lines.append(
            pulseError.value_or(tr("Loading the public book…", "A carregar o livro público…")));
    }

    // A portfolio is there (perhaps the cache) exactly when its accounts are listed.
    const QJsonValue accounts = account.value(QStringLiteral("accounts"));
    if (accounts.isArray() && accounts.toArray().isEmpty()) {
        lines.append(
            tr("No brokerage account connected yet.", "Ainda sem conta de corretora ligada."));
    } else if (accounts.isArray()) {
        const QJsonObject totals = account.value(QStringLiteral("totals")).toObject();
        QString line = tr("Your account ", "A tua conta ") +
                       money(number(totals.value(QStringLiteral("equity"))), locale);
        if (const auto today = number(totals.value(QStringLiteral("todayPnl"))))
            line += QStringLiteral(" · ") + moneySigned(*today, locale) + tr(" today", " hoje");
        lines.append(line);
        asOf = older(asOf, date(account.value(QStringLiteral("portfolioAsOf"))));
    } else if (account.value(QStringLiteral("signedIn")).toBool()) {
        lines.append(tr("Loading your account…", "A carregar a tua conta…"));
    }
    if (const auto accountError = text(account.value(QStringLiteral("lastError"))))
        age.append(*accountError);

    if (asOf && form == AgeForm::Clock)
        age.append(tr("as of ", "às ") + shortTime(*asOf, locale));
    else if (asOf)
        age.append(freshnessBadge(*asOf, now, isPT, locale).text);
    if (!age.isEmpty())
        lines.append(age.join(QStringLiteral(" · ")));
    return lines.join(u'\n');
}

} // namespace ui
