#pragma once

#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QRectF>
#include <QSize>
#include <QSizeF>

// Where the popover and the quick panel go. Pure geometry, so the rules can be checked without
// a screen.
namespace PanelPlacement {

// The quick panel's origin in a y-up frame (origin at the bottom left, as the visible frame is
// measured): centred horizontally, raised above the centre by 12 % of the frame's height.
QPointF quickPanelOriginYUp(const QRectF &visibleFrame, const QSizeF &panel);

// The same placement in Qt's y-down screen coordinates for an available geometry, rounded to
// whole pixels and kept inside the geometry when the panel is too big to be raised.
QPoint quickPanelTopLeft(const QRect &available, const QSize &panel);

// The popover's top-left: centred under the click point, or above it when there is no room
// below (a panel at the bottom of the screen), and always inside the available geometry.
// Some panels (waybar) give a point inside their own widget, not on the screen: one closer to
// the area's top-left corner than a panel is thick on both axes. It says nothing of where the
// item is, so the popover goes to the top right corner, where trays sit, under a panel taken
// to be twice as tall as the point is low.
QPoint popoverTopLeft(const QPoint &anchor, const QSize &popover, const QRect &available);

// Gap between the click point and the popover's edge.
inline constexpr int popoverGap = 6;
// No panel is thicker than this; a point nearer the corner on both axes is widget-local.
inline constexpr int widgetLocalExtent = 48;

} // namespace PanelPlacement
