#include "app/PanelPlacement.h"

#include <algorithm>
#include <cmath>

namespace PanelPlacement {

namespace {

constexpr double raiseFraction = 0.12;

// Like std::clamp, but a window larger than the area sticks to its top-left edge.
int keepInside(int value, int low, int highForStart)
{
    return std::max(low, std::min(value, highForStart));
}

} // namespace

QPointF quickPanelOriginYUp(const QRectF &visibleFrame, const QSizeF &panel)
{
    return {visibleFrame.center().x() - panel.width() * 0.5,
            visibleFrame.center().y() - panel.height() * 0.5 +
                visibleFrame.height() * raiseFraction};
}

QPoint quickPanelTopLeft(const QRect &available, const QSize &panel)
{
    // Raising in a y-up frame is lowering y in Qt's frame; the centre is the same point.
    const QRectF frame(available);
    const double x = frame.center().x() - panel.width() * 0.5;
    const double y = frame.center().y() - panel.height() * 0.5 - frame.height() * raiseFraction;
    return {keepInside(int(std::lround(x)), available.left(),
                       available.left() + available.width() - panel.width()),
            keepInside(int(std::lround(y)), available.top(),
                       available.top() + available.height() - panel.height())};
}

QPoint popoverTopLeft(const QPoint &given, const QSize &popover, const QRect &available)
{
    const bool widgetLocal = given.x() < available.left() + widgetLocalExtent &&
                             given.y() < available.top() + widgetLocalExtent;
    const QPoint anchor = widgetLocal ? QPoint(available.left() + available.width(),
                                               available.top() + 2 * std::max(given.y(), 0))
                                      : given;
    const int bottom = available.top() + available.height();
    int y = anchor.y() + popoverGap;
    if (y + popover.height() > bottom)
        y = anchor.y() - popoverGap - popover.height();
    const int x = anchor.x() - popover.width() / 2;
    return {keepInside(x, available.left(), available.left() + available.width() - popover.width()),
            keepInside(y, available.top(), bottom - popover.height())};
}

} // namespace PanelPlacement
