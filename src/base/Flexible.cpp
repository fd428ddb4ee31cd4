#include "base/Flexible.h"

namespace base {

namespace {

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

// Two ASCII digits at `at` making a number no larger than `max`.
bool twoDigits(QStringView text, qsizetype at, int max)
{
    if (at + 2 > text.size() || !isDigit(text[at]) || !isDigit(text[at + 1]))
        return false;
    return (text[at].unicode() - u'0') * 10 + (text[at + 1].unicode() - u'0') <= max;
}

// YYYY-MM-DDThh:mm:ss.f+ then Z or ±hh:mm, nothing around it. Qt's ISO parser alone is lenient
// (no fraction, 24:00, missing zone), so the shape is checked first.
bool hasTimestampShape(QStringView text)
{
    const auto at = [&](qsizetype i, char16_t c) { return i < text.size() && text[i] == c; };
    if (text.size() < 21 || !isDigit(text[0]) || !isDigit(text[1]) || !twoDigits(text, 2, 99) ||
        !at(4, u'-') || !twoDigits(text, 5, 99) || !at(7, u'-') || !twoDigits(text, 8, 99) ||
        !at(10, u'T') || !twoDigits(text, 11, 23) || !at(13, u':') || !twoDigits(text, 14, 59) ||
        !at(16, u':') || !twoDigits(text, 17, 59) || !at(19, u'.') || !isDigit(text[20]))
        return false;
    qsizetype zone = 21;
    while (zone < text.size() && isDigit(text[zone]))
        ++zone;
    if (at(zone, u'Z'))
        return zone + 1 == text.size();
    return (at(zone, u'+') || at(zone, u'-')) && twoDigits(text, zone + 1, 23) &&
           at(zone + 3, u':') && twoDigits(text, zone + 4, 59) && zone + 6 == text.size();
}

} // namespace

std::optional<QDateTime> flexible(QStringView text)
{
    if (!hasTimestampShape(text))
        return std::nullopt;
    const QDateTime parsed = QDateTime::fromString(text.toString(), Qt::ISODateWithMs);
    if (!parsed.isValid())
        return std::nullopt;
    return parsed.toUTC();
}

QString isoUtcMillis(const QDateTime &instant)
{
    return instant.toUTC().toString(Qt::ISODateWithMs);
}

} // namespace base
