#include "net/Flexible.h"

#include <QRegularExpression>

namespace net {

std::optional<QDateTime> flexible(QStringView text)
{
    // Qt's ISO parser is lenient (no fraction, 24:00, missing zone); the shape is checked first.
    static const QRegularExpression shape(
        QStringLiteral(R"(^\d{4}-\d{2}-\d{2}T([01]\d|2[0-3]):[0-5]\d:[0-5]\d\.\d+)"
                       R"((Z|[+-]([01]\d|2[0-3]):[0-5]\d)$)"));
    if (!shape.match(text).hasMatch())
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

} // namespace net
