#pragma once

#include <QByteArray>
#include <QDBusArgument>
#include <QList>
#include <QString>

// The structures of the org.kde.StatusNotifierItem interface as they travel on the bus.
namespace sni {

// One icon size: width, height and ARGB32 pixels in network byte order, row by row: (iiay).
struct IconPixmap
{
    int width = 0;
    int height = 0;
    QByteArray argb;
};
using IconPixmaps = QList<IconPixmap>;

// (sa(iiay)ss): icon name, icon pixmaps, title, description.
struct ToolTip
{
    QString iconName;
    IconPixmaps icon;
    QString title;
    QString description;
};

// Makes the types known to QtDBus; call before exporting or reading them.
void registerTypes();

} // namespace sni

QDBusArgument &operator<<(QDBusArgument &out, const sni::IconPixmap &icon);
const QDBusArgument &operator>>(const QDBusArgument &in, sni::IconPixmap &icon);
QDBusArgument &operator<<(QDBusArgument &out, const sni::ToolTip &toolTip);
const QDBusArgument &operator>>(const QDBusArgument &in, sni::ToolTip &toolTip);

Q_DECLARE_METATYPE(sni::IconPixmap)
Q_DECLARE_METATYPE(sni::ToolTip)
