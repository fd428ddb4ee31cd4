#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <optional>

// The popover's fixed formats. Money grouping, relative dates and clock times follow the user's
// system locale and time zone; percentages always use a point.
namespace ui {

// Where money, relative dates and times are formatted; injectable so tests pin it.
struct FormatLocale
{
    QString name;          // e.g. "pt_PT"
    QByteArray timeZoneId; // IANA id; relative dates count calendar days in it

    // The user's system locale and time zone.
    static FormatLocale system();
    bool operator==(const FormatLocale &) const = default;
};

// "$" and the rounded amount (half to even, grouped); "—" when absent. A negative amount reads
// "$-5": the sign is left to the number formatter.
QString money(std::optional<double> dollars, const FormatLocale &locale = FormatLocale::system());
// "+$1,204", "-$37", "+$0": the sign first, then the absolute amount as in money().
QString moneySigned(double dollars, const FormatLocale &locale = FormatLocale::system());
// "+12.34%", "-0.50%": two decimals and a point in every locale.
QString signedPercent(double percent);

// "5 minutes ago", "yesterday", "in 3 hours": the unit a desktop relative formatter would pick,
// worded by ICU in the locale.
QString relativePhrase(const QDateTime &date, const QDateTime &now,
                       const FormatLocale &locale = FormatLocale::system());
// The locale's short time without date, e.g. "2:05 PM", "14:05".
QString shortTime(const QDateTime &time, const FormatLocale &locale = FormatLocale::system());

// The age badge: live with a seconds counter under 90 s, else "as of " plus a relative phrase.
struct Freshness
{
    bool live = false;
    QString text;
    bool operator==(const Freshness &) const = default;
};
Freshness freshnessBadge(const QDateTime &date, const QDateTime &now, bool isPT,
                         const FormatLocale &locale = FormatLocale::system());

} // namespace ui
