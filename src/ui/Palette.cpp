#include "ui/Palette.h"

namespace ui {

bool isDark(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightnessF() < 0.5;
}

QColor mireoGain(const QPalette &palette)
{
    return isDark(palette) ? QColor::fromRgbF(0.24f, 0.85f, 0.62f)
                           : QColor::fromRgbF(0.00f, 0.42f, 0.26f);
}

QColor mireoLoss(const QPalette &palette)
{
    return isDark(palette) ? QColor::fromRgbF(1.00f, 0.45f, 0.42f)
                           : QColor::fromRgbF(0.72f, 0.11f, 0.11f);
}

QColor gold()
{
    return QColor(212, 168, 67);
}

QColor colorFor(Tone tone, const QPalette &palette)
{
    switch (tone) {
    case Tone::Primary:
        return palette.color(QPalette::WindowText);
    case Tone::Secondary: {
        // Text of lower rank: the primary colour, faded.
        QColor color = palette.color(QPalette::WindowText);
        color.setAlphaF(0.6f);
        return color;
    }
    case Tone::Gain:
        return mireoGain(palette);
    case Tone::Loss:
        return mireoLoss(palette);
    case Tone::Warning:
        return isDark(palette) ? QColor(255, 159, 10) : QColor(230, 120, 0);
    case Tone::Gold:
        return gold();
    }
    return palette.color(QPalette::WindowText);
}

} // namespace ui
