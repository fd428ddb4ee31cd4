#include "ui/RenderPng.h"

#include <QLayout>
#include <QPixmap>
#include <QWidget>

namespace ui {

bool renderWidgetToPng(QWidget &widget, const QString &path)
{
    widget.ensurePolished();
    if (QLayout *layout = widget.layout())
        layout->activate();
    widget.adjustSize();
    // Windows paint their own background; a widget on its own needs it filled.
    widget.setAutoFillBackground(true);
    return widget.grab().save(path, "PNG");
}

} // namespace ui
