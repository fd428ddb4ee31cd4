#pragma once

#include <QPointF>
#include <QRectF>
#include <optional>

// What the shell needs to know about a display, in Qt's coordinates (y grows downwards).
struct ScreenGeometry
{
    // The screen minus panels and docks.
    QRectF visibleFrame;
    // The height of a camera housing at the top edge; 0 on displays without one.
    double safeAreaTopInset = 0;
    // The panel areas left and right of the housing, when there is one.
    std::optional<QRectF> auxiliaryTopLeftArea;
    std::optional<QRectF> auxiliaryTopRightArea;
};

// The displays, so placement and the notch check can run on fixed geometry in tests.
class Screen
{
public:
    virtual ~Screen() = default;
    // The screen windows open on; absent when there is none.
    virtual std::optional<ScreenGeometry> mainScreen() const = 0;
    // The screen that holds `point`; absent when none does.
    virtual std::optional<ScreenGeometry> screenAt(QPointF point) const = 0;
};
