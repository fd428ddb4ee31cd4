#include "platform/linux/StatusNotifierItemTypes.h"

#include <QDBusMetaType>

namespace sni {

void registerTypes()
{
    qDBusRegisterMetaType<IconPixmap>();
    qDBusRegisterMetaType<IconPixmaps>();
    qDBusRegisterMetaType<ToolTip>();
}

} // namespace sni

QDBusArgument &operator<<(QDBusArgument &out, const sni::IconPixmap &icon)
{
    out.beginStructure();
    out << icon.width << icon.height << icon.argb;
    out.endStructure();
    return out;
}

const QDBusArgument &operator>>(const QDBusArgument &in, sni::IconPixmap &icon)
{
    in.beginStructure();
    in >> icon.width >> icon.height >> icon.argb;
    in.endStructure();
    return in;
}

QDBusArgument &operator<<(QDBusArgument &out, const sni::ToolTip &toolTip)
{
    out.beginStructure();
    out << toolTip.iconName << toolTip.icon << toolTip.title << toolTip.description;
    out.endStructure();
    return out;
}

const QDBusArgument &operator>>(const QDBusArgument &in, sni::ToolTip &toolTip)
{
    in.beginStructure();
    in >> toolTip.iconName >> toolTip.icon >> toolTip.title >> toolTip.description;
    in.endStructure();
    return in;
}
