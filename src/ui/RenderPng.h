#pragma once

#include <QImage>
#include <QString>

class QWidget;

namespace ui {

// Lays `widget` out at its own size and draws it, shown or not.
QImage renderWidget(QWidget &widget);
// The same, saved as a PNG. False when the file cannot be written.
bool renderWidgetToPng(QWidget &widget, const QString &path);

} // namespace ui
