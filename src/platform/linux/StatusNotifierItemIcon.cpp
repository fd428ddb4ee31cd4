#include "platform/linux/StatusNotifierItemIcon.h"

#include <QPainter>
#include <QtEndian>

namespace sni {

namespace {

constexpr int pixmapSizes[] = {16, 22, 24, 32, 48, 64};
// The dot fills a little over half of the square, like other panel glyphs.
constexpr double dotFraction = 0.56;

} // namespace

QImage brandDotImage(int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(brandGold);
    const double diameter = size * dotFraction;
    const double inset = (size - diameter) / 2;
    painter.drawEllipse(QRectF(inset, inset, diameter, diameter));
    return image;
}

QIcon brandDotIcon()
{
    QIcon icon;
    for (int size : pixmapSizes)
        icon.addPixmap(QPixmap::fromImage(brandDotImage(size)));
    return icon;
}

IconPixmap toIconPixmap(const QImage &image)
{
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    IconPixmap pixmap{argb.width(), argb.height(), {}};
    pixmap.argb.resize(qsizetype(argb.width()) * argb.height() * 4);
    auto *out = reinterpret_cast<uchar *>(pixmap.argb.data());
    for (int y = 0; y < argb.height(); ++y) {
        const auto *row = reinterpret_cast<const quint32 *>(argb.constScanLine(y));
        for (int x = 0; x < argb.width(); ++x, out += 4)
            qToBigEndian(row[x], out);
    }
    return pixmap;
}

IconPixmaps brandDotPixmaps()
{
    IconPixmaps pixmaps;
    for (int size : pixmapSizes)
        pixmaps.append(toIconPixmap(brandDotImage(size)));
    return pixmaps;
}

} // namespace sni
