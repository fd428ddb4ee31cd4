#pragma once

#include "platform/linux/StatusNotifierItemTypes.h"

#include <QColor>
#include <QIcon>
#include <QImage>

// The brand's gold dot, drawn rather than loaded so the item shows without an installed theme.
namespace sni {

inline const QColor brandGold = QColor(0xD4, 0xA8, 0x43);

QImage brandDotImage(int size);
QIcon brandDotIcon();
// The sizes panels ask for most, in the bus's byte order.
IconPixmaps brandDotPixmaps();
IconPixmap toIconPixmap(const QImage &image);

} // namespace sni
