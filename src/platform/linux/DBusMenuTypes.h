#pragma once

#include <QDBusArgument>
#include <QDBusVariant>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

// The structures of the com.canonical.dbusmenu interface as they travel on the bus.
namespace dbusmenu {

// One entry and, below it, its children, each wrapped in a variant: (ia{sv}av).
struct LayoutItem
{
    int id = 0;
    QVariantMap properties;
    QList<LayoutItem> children;
};

// An entry's properties by id: (ia{sv}).
struct ItemProperties
{
    int id = 0;
    QVariantMap properties;
};

// Properties an entry no longer has: (ias).
struct RemovedProperties
{
    int id = 0;
    QStringList names;
};

// One event of a group: (isvu) id, event ("clicked", "hovered", ...), data, timestamp.
struct Event
{
    int id = 0;
    QString eventId;
    QDBusVariant data;
    uint timestamp = 0;
};

// Makes the types known to QtDBus; call before exporting or reading them. Signatures spell
// lists as QList<...>: QtDBus cannot find an alias by the name moc records.
void registerTypes();

} // namespace dbusmenu

QDBusArgument &operator<<(QDBusArgument &out, const dbusmenu::LayoutItem &item);
const QDBusArgument &operator>>(const QDBusArgument &in, dbusmenu::LayoutItem &item);
QDBusArgument &operator<<(QDBusArgument &out, const dbusmenu::ItemProperties &item);
const QDBusArgument &operator>>(const QDBusArgument &in, dbusmenu::ItemProperties &item);
QDBusArgument &operator<<(QDBusArgument &out, const dbusmenu::RemovedProperties &item);
const QDBusArgument &operator>>(const QDBusArgument &in, dbusmenu::RemovedProperties &item);
QDBusArgument &operator<<(QDBusArgument &out, const dbusmenu::Event &event);
const QDBusArgument &operator>>(const QDBusArgument &in, dbusmenu::Event &event);

Q_DECLARE_METATYPE(dbusmenu::LayoutItem)
Q_DECLARE_METATYPE(dbusmenu::ItemProperties)
Q_DECLARE_METATYPE(dbusmenu::RemovedProperties)
Q_DECLARE_METATYPE(dbusmenu::Event)
