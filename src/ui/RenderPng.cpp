#include "ui/RenderPng.h"

#include <QLayout>
#include <QPixmap>
#include <QWidget>

namespace ui {

QImage renderWidget(QWidget &widget)
{
    widget.ensurePolished();
    if (QLayout *layout = widget.layout())
        layout->activate();
    widget.adjustSize();
    // Windows paint their own background; a widget on its own needs it filled.
    widget.setAutoFillBackground(true);
    return widget.grab().toImage();
}

bool renderWidgetToPng(QWidget &widget, const QString &path)
{
    return renderWidget(widget).save(path, "PNG");
}

} // namespace ui
