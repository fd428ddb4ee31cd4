#include "platform/linux/QtScreen.h"

#include <QGuiApplication>
#include <QScreen>

namespace {
std::optional<ScreenGeometry> geometryOf(const QScreen *screen)
{
    if (!screen)
        return std::nullopt;
    return ScreenGeometry{QRectF(screen->availableGeometry()), 0, std::nullopt, std::nullopt};
}
} // namespace

std::optional<ScreenGeometry> QtScreen::mainScreen() const
{
    return geometryOf(QGuiApplication::primaryScreen());
}

std::optional<ScreenGeometry> QtScreen::screenAt(QPointF point) const
{
    return geometryOf(QGuiApplication::screenAt(point.toPoint()));
}
