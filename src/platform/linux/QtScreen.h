#pragma once

#include "app/Screen.h"

// Qt's screens. Linux displays report no camera housing: the inset is 0, no side areas.
class QtScreen final : public Screen
{
public:
    std::optional<ScreenGeometry> mainScreen() const override;
    std::optional<ScreenGeometry> screenAt(QPointF point) const override;
};
