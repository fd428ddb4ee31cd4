#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <optional>

// One release in an RSS update feed with the sparkle namespace.
struct AppcastRelease
{
    QString version;          // sparkle:version, compared with ours
    QString displayVersion;   // sparkle:shortVersionString, or the version without one
    std::optional<QUrl> page; // the item's link, else its enclosure's url
};

// The newest release of the feed: the item with the highest version, whatever the order of the
// items; the version is read from the element or from the enclosure's attribute. Items without a
// version are skipped. Absent for anything that is not a well-formed feed with such an item.
std::optional<AppcastRelease> parseAppcast(const QByteArray &xml);

// Compares dot-separated versions part by part, numerically; missing parts count as 0, so
// "1.0" equals "1.0.0". A part with a text after its number ("0b2") sorts before the bare number.
// Negative when a < b, 0 when equal, positive when a > b.
int compareVersions(QStringView a, QStringView b);
