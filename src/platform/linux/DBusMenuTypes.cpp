#include "platform/linux/DBusMenuTypes.h"

#include <QDBusMetaType>

namespace dbusmenu {

void registerTypes()
{
    qDBusRegisterMetaType<LayoutItem>();
    qDBusRegisterMetaType<ItemProperties>();
    qDBusRegisterMetaType<QList<ItemProperties>>();
    qDBusRegisterMetaType<RemovedProperties>();
    qDBusRegisterMetaType<QList<RemovedProperties>>();
    qDBusRegisterMetaType<Event>();
    qDBusRegisterMetaType<QList<Event>>();
    qDBusRegisterMetaType<QList<int>>();
}

} // namespace dbusmenu

QDBusArgument &operator<<(QDBusArgument &out, const dbusmenu::LayoutItem &item)
{
    out.beginStructure();
    out << item.id << item.properties;
    // Children are variants: the signature cannot name its own type.
    out.beginArray(qMetaTypeId<QDBusVariant>());
    for (const dbusmenu::LayoutItem &child : item.children)
        out << QDBusVariant(QVariant::fromValue(child));
    out.endArray();
    out.endStructure();
    return out;
}

const QDBusArgument &operator>>(const QDBusArgument &in, dbusmenu::LayoutItem &item)
{
    in.beginStructure();
    in >> item.id >> item.properties;
    item.children.clear();
    in.beginArray();
    while (!in.atEnd()) {
        QDBusVariant wrapped;
        in >> wrapped;
        dbusmenu::LayoutItem child;
        wrapped.variant().value<QDBusArgument>() >> child;
        item.children << child;
    }
    in.endArray();
    in.endStructure();
    return in;
}

QDBusArgument &operator<<(QDBusArgument &out, const dbusmenu::ItemProperties &item)
{
    out.beginStructure();
    out << item.id << item.properties;
    out.endStructure();
    return out;
}

const QDBusArgument &operator>>(const QDBusArgument &in, dbusmenu::ItemProperties &item)
{
    in.beginStructure();
    in >> item.id >> item.properties;
    in.endStructure();
    return in;
}

QDBusArgument &operator<<(QDBusArgument &out, const dbusmenu::RemovedProperties &item)
{
    out.beginStructure();
    out << item.id << item.names;
    out.endStructure();
    return out;
}

const QDBusArgument &operator>>(const QDBusArgument &in, dbusmenu::RemovedProperties &item)
{
    in.beginStructure();
    in >> item.id >> item.names;
    in.endStructure();
    return in;
}

QDBusArgument &operator<<(QDBusArgument &out, const dbusmenu::Event &event)
{
    out.beginStructure();
    out << event.id << event.eventId << event.data << event.timestamp;
    out.endStructure();
    return out;
}

const QDBusArgument &operator>>(const QDBusArgument &in, dbusmenu::Event &event)
{
    in.beginStructure();
    in >> event.id >> event.eventId >> event.data >> event.timestamp;
    in.endStructure();
    return in;
}
