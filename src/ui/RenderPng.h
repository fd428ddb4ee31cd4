#pragma once

#include <QString>

class QWidget;

namespace ui {

// Lays `widget` out at its own size and saves what it paints as a PNG, shown or not. False
// when the file cannot be written.
bool renderWidgetToPng(QWidget &widget, const QString &path);

} // namespace ui
