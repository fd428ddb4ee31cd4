#include "ui/Format.h"

#include "base/FixedDecimal.h"

#include <QLocale>
#include <QTimeZone>
#include <array>
#include <cmath>
#include <memory>
#include <unicode/datefmt.h>
#include <unicode/gregocal.h>
#include <unicode/numberformatter.h>
#include <unicode/reldatefmt.h>
#include <unicode/timezone.h>

namespace ui {

namespace {

icu::Locale icuLocale(const FormatLocale &locale)
{
    return icu::Locale(locale.name.toUtf8().constData());
}

QString fromIcu(const icu::UnicodeString &text)
{
    return QString(reinterpret_cast<const QChar *>(text.getBuffer()), text.length());
}

icu::TimeZone *createZone(const FormatLocale &locale)
{
    if (locale.timeZoneId.isEmpty())
        return icu::TimeZone::createDefault();
    return icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(locale.timeZoneId.data()));
}

// The amount rounded to whole dollars, half to even, with the locale's grouping.
QString wholeAmount(double value, const FormatLocale &locale)
{
    using namespace icu::number;
    UErrorCode status = U_ZERO_ERROR;
    const auto formatted = NumberFormatter::withLocale(icuLocale(locale))
                               .precision(Precision::integer())
                               .roundingMode(UNUM_ROUND_HALFEVEN)
                               .grouping(UNUM_GROUPING_AUTO)
                               .formatDouble(value, status);
    const icu::UnicodeString text = formatted.toString(status);
    return U_SUCCESS(status) ? fromIcu(text) : base::fixedDecimal(value, 0);
}

// Largest first, as the relative phrase weighs them.
constexpr std::array<UCalendarDateFields, 7> units{UCAL_YEAR,  UCAL_MONTH,       UCAL_WEEK_OF_MONTH,
                                                   UCAL_DATE,  UCAL_HOUR_OF_DAY, UCAL_MINUTE,
                                                   UCAL_SECOND};
constexpr std::array<URelativeDateTimeUnit, 7> wordedUnits{
    UDAT_REL_UNIT_YEAR, UDAT_REL_UNIT_MONTH,  UDAT_REL_UNIT_WEEK,  UDAT_REL_UNIT_DAY,
    UDAT_REL_UNIT_HOUR, UDAT_REL_UNIT_MINUTE, UDAT_REL_UNIT_SECOND};
constexpr int hourIndex = 4;
constexpr int minuteIndex = 5;

struct Difference
{
    std::array<int32_t, 7> values{};
    UDate leftoverMs = 0;
};

// All components at once, largest first, like a date-components difference.
Difference difference(icu::Calendar &calendar, UDate from, UDate to)
{
    UErrorCode status = U_ZERO_ERROR;
    Difference result;
    calendar.setTime(from, status);
    for (size_t i = 0; i < units.size(); ++i)
        result.values[i] = calendar.fieldDifference(to, units[i], status);
    result.leftoverMs = to - calendar.getTime(status);
    return result;
}

// The start of the unit that holds `reference`, or its last second when `endOfUnit`.
UDate alignTo(icu::Calendar &calendar, UDate reference, int unitIndex, bool endOfUnit)
{
    UErrorCode status = U_ZERO_ERROR;
    calendar.setTime(reference, status);
    calendar.set(UCAL_HOUR_OF_DAY, 0);
    calendar.set(UCAL_MINUTE, 0);
    calendar.set(UCAL_SECOND, 0);
    calendar.set(UCAL_MILLISECOND, 0);
    const UCalendarDateFields unit = units[size_t(unitIndex)];
    if (unit == UCAL_WEEK_OF_MONTH) {
        const int weekday = calendar.get(UCAL_DAY_OF_WEEK, status);
        calendar.add(UCAL_DATE, -((weekday - calendar.getFirstDayOfWeek() + 7) % 7), status);
    } else if (unit == UCAL_MONTH) {
        calendar.set(UCAL_DATE, 1);
    } else if (unit == UCAL_YEAR) {
        calendar.set(UCAL_DAY_OF_YEAR, 1);
    }
    if (!endOfUnit)
        return calendar.getTime(status);
    calendar.add(unit == UCAL_WEEK_OF_MONTH ? UCAL_WEEK_OF_YEAR : unit, 1, status);
    return calendar.getTime(status) - 1000;
}

} // namespace

FormatLocale FormatLocale::system()
{
    return {QLocale::system().name(), QTimeZone::systemTimeZoneId()};
}

QString money(std::optional<double> dollars, const FormatLocale &locale)
{
    if (!dollars)
        return QStringLiteral("—");
    return QLatin1Char('$') + wholeAmount(*dollars, locale);
}

QString moneySigned(double dollars, const FormatLocale &locale)
{
    // Not-a-number is not >= 0 either, so it reads as a loss.
    const QString sign = dollars >= 0 ? QStringLiteral("+$") : QStringLiteral("-$");
    return sign + wholeAmount(std::fabs(dollars), locale);
}

QString signedPercent(double percent)
{
    // The number prints its own "-"; only gains get a "+".
    return (percent >= 0 ? QStringLiteral("+") : QString()) + base::fixedDecimal(percent, 2) +
           QLatin1Char('%');
}

QString relativePhrase(const QDateTime &date, const QDateTime &now, const FormatLocale &locale)
{
    UErrorCode status = U_ZERO_ERROR;
    icu::GregorianCalendar calendar(createZone(locale), icuLocale(locale), status);
    const UDate reference = UDate(now.toMSecsSinceEpoch());
    UDate target = UDate(date.toMSecsSinceEpoch());

    Difference diff = difference(calendar, reference, target);
    if (std::fabs(diff.leftoverMs) > 500) {
        target += diff.leftoverMs > 0 ? 1000 : -1000;
        diff = difference(calendar, reference, target);
    }

    int winner = int(units.size()) - 1;
    for (int i = 0; i < int(units.size()); ++i) {
        if (diff.values[size_t(i)] != 0) {
            winner = i;
            break;
        }
    }
    int32_t value = diff.values[size_t(winner)];
    if (winner >= hourIndex) {
        // Round the winner by the next smaller unit that is not zero.
        for (int smaller = winner + 1; smaller < int(units.size()); ++smaller) {
            const int32_t part = diff.values[size_t(smaller)];
            if (part == 0)
                continue;
            const int perWinner = (winner == hourIndex && smaller > minuteIndex) ? 3600 : 60;
            if (2 * std::abs(part) >= perWinner)
                value += value < 0 ? -1 : 1;
            break;
        }
    } else if (value != 0) {
        // Whole calendar units: count from the boundary of the reference's unit.
        const UDate aligned = alignTo(calendar, reference, winner, target < reference);
        calendar.setTime(aligned, status);
        value = calendar.fieldDifference(target, units[size_t(winner)], status);
    }

    const icu::RelativeDateTimeFormatter formatter(icuLocale(locale), nullptr, UDAT_STYLE_LONG,
                                                   UDISPCTX_CAPITALIZATION_NONE, status);
    const auto formatted =
        formatter.formatToValue(double(value), wordedUnits[size_t(winner)], status);
    const icu::UnicodeString text = formatted.toString(status);
    return U_SUCCESS(status) ? fromIcu(text) : QString();
}

QString shortTime(const QDateTime &time, const FormatLocale &locale)
{
    std::unique_ptr<icu::DateFormat> format(
        icu::DateFormat::createTimeInstance(icu::DateFormat::kShort, icuLocale(locale)));
    if (!format)
        return QString();
    format->adoptTimeZone(createZone(locale));
    icu::UnicodeString text;
    format->format(UDate(time.toMSecsSinceEpoch()), text);
    return fromIcu(text);
}

Freshness freshnessBadge(const QDateTime &date, const QDateTime &now, bool isPT,
                         const FormatLocale &locale)
{
    const qint64 ageMs = now.msecsTo(date); // negative for a date in the past
    if (ageMs > -90'000) {
        const qint64 seconds = std::max<qint64>(0, -ageMs / 1000);
        return {true, QStringLiteral("live · ") + QString::number(seconds) + QLatin1Char('s')};
    }
    return {false, (isPT ? QStringLiteral("há ") : QStringLiteral("as of ")) +
                       relativePhrase(date, now, locale)};
}

} // namespace ui
