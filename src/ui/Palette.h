#pragma once

#include <QColor>
#include <QPalette>

// The popover's colours. Gain and loss are resolved when painted, from the palette of the widget
// that paints them, so switching between a light and a dark desktop recolours them in place.
namespace ui {

// True when the palette's window colour is dark.
bool isDark(const QPalette &palette);

QColor mireoGain(const QPalette &palette);
QColor mireoLoss(const QPalette &palette);
// The brand accent, the same on light and dark.
QColor gold();

// The colour roles the popover's model speaks of.
enum class Tone { Primary, Secondary, Gain, Loss, Warning, Gold };

// Gain when the number is zero or positive, loss when negative.
inline Tone toneFor(double value)
{
    return value >= 0 ? Tone::Gain : Tone::Loss;
}

QColor colorFor(Tone tone, const QPalette &palette);

} // namespace ui
