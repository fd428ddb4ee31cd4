#pragma once

#include "app/Screen.h"

#include <QObject>
#include <QRectF>
#include <QString>
#include <chrono>
#include <functional>
#include <optional>

// Warns when the status item ends up behind a display's camera housing.
namespace notch {

inline constexpr std::chrono::milliseconds delay{3000};
inline constexpr char notificationIdentifier[] = "notch-hidden";

// Hidden when any part of the item lies in the gap between the two side areas; touching an
// edge does not count. Gives up (false) at the first missing piece or a zero inset.
bool isHidden(const std::optional<QRectF> &itemFrame, const std::optional<ScreenGeometry> &screen);

struct Warning
{
    QString identifier;
    QString title;
    QString body;
};

// The notification, in the language chosen now.
Warning warning();

struct Hooks
{
    // The status item's window frame and its screen; absent when anything on the way is.
    std::function<std::optional<QRectF>()> itemFrame;
    std::function<std::optional<ScreenGeometry>(const QRectF &itemFrame)> screenOf;
    // Posts the notification at once, replacing an earlier one with the same identifier.
    std::function<void(const Warning &)> post;
};

// Runs the check once, `after` later; nothing once `owner` is gone. No once-only mark: every
// launch checks again.
void schedule(QObject *owner, Hooks hooks, std::chrono::milliseconds after = delay);

} // namespace notch
