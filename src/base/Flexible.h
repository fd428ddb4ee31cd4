#pragma once

#include <QDateTime>
#include <QStringView>
#include <optional>

namespace base {

// The one parser for the service's timestamps: internet date-time with fractional seconds,
// e.g. 2025-03-07T14:30:05.123Z or 2025-03-07T09:30:05.123-05:00. Despite the name it has no
// fallback: a text without fractional seconds is not a timestamp.
std::optional<QDateTime> flexible(QStringView text);

// The inverse used wherever this program writes a timestamp: UTC with milliseconds.
QString isoUtcMillis(const QDateTime &instant);

} // namespace base
