#pragma once

#include <QByteArray>
#include <QObject>
#include <QRectF>
#include <chrono>
#include <functional>
#include <optional>

// A diagnostic line saying where the status item sits, for bug reports from odd panels.
namespace probe {

inline constexpr char environmentVariable[] = "MIREO_DEBUG_PROBE";
inline constexpr std::chrono::milliseconds delay{3000};

// Only the exact value "1" turns the probe on; "true", "01" or an empty value do not.
bool isEnabled(const std::optional<QByteArray> &value);
// Reads the process environment.
bool isEnabled();

// "probe visible=true frame=(1183.0, 945.0, 62.0, 24.0)\n"
QByteArray line(bool visible, const QRectF &frame);

struct Source
{
    std::function<bool()> visible;                 // false when the item is gone
    std::function<QRectF()> frame;                 // the zero rectangle when anything is missing
    std::function<void(const QByteArray &)> write; // standard error unless set
};

// When enabled, writes the line once, `after` later; nothing once `owner` is gone.
void schedule(QObject *owner, Source source, std::chrono::milliseconds after = delay,
              bool enabled = isEnabled());

} // namespace probe
