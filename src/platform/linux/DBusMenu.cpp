#include "platform/linux/DBusMenu.h"

namespace {

const QString labelKey = QStringLiteral("label");

QVariantMap only(QVariantMap properties, const QStringList &names)
{
    // An empty list asks for every property.
    if (names.isEmpty())
        return properties;
    for (auto it = properties.begin(); it != properties.end();)
        it = names.contains(it.key()) ? std::next(it) : properties.erase(it);
    return properties;
}

QString noEntry(int id)
{
    return QStringLiteral("No menu entry %1").arg(id);
}

} // namespace

DBusMenu::DBusMenu(const QDBusConnection &bus, QString path, LabelSource labels, QObject *parent)
    : QObject(parent), m_bus(bus), m_path(std::move(path)), m_labels(std::move(labels))
{
    dbusmenu::registerTypes();
    m_adaptor = new DBusMenuAdaptor(this);
    m_bus.registerObject(m_path, this, QDBusConnection::ExportAdaptors);
}

DBusMenu::~DBusMenu()
{
    m_bus.unregisterObject(m_path);
}

void DBusMenu::labelsChanged()
{
    QList<dbusmenu::ItemProperties> updated;
    const QStringList labels = m_labels();
    for (int index = 0; index < labels.size(); ++index)
        updated << dbusmenu::ItemProperties{index + 1, {{labelKey, labels[index]}}};
    Q_EMIT m_adaptor->ItemsPropertiesUpdated(updated, {});
}

std::optional<QVariantMap> DBusMenu::properties(int id, const QStringList &names) const
{
    if (id == 0)
        return only({{QStringLiteral("children-display"), QStringLiteral("submenu")}}, names);
    const QStringList labels = m_labels();
    if (id < 1 || id > labels.size())
        return std::nullopt;
    return only({{labelKey, labels[id - 1]},
                 {QStringLiteral("enabled"), true},
                 {QStringLiteral("visible"), true}},
                names);
}

std::optional<dbusmenu::LayoutItem> DBusMenu::layout(int parentId, int depth,
                                                     const QStringList &names) const
{
    auto own = properties(parentId, names);
    if (!own)
        return std::nullopt;
    dbusmenu::LayoutItem item{parentId, *own, {}};
    // Only the root has children; a depth of -1 means all levels.
    if (parentId == 0 && depth != 0) {
        const auto count = int(m_labels().size());
        for (int id = 1; id <= count; ++id)
            item.children << dbusmenu::LayoutItem{
                id, properties(id, names).value_or(QVariantMap()), {}};
    }
    return item;
}

bool DBusMenu::handleEvent(int id, const QString &eventId)
{
    if (!properties(id, {}))
        return false;
    // "opened", "closed" and "hovered" need nothing.
    if (id > 0 && eventId == QLatin1StringView("clicked"))
        Q_EMIT triggered(id - 1);
    return true;
}

void DBusMenu::refuse(const QString &what)
{
    if (calledFromDBus())
        sendErrorReply(QDBusError::InvalidArgs, what);
}

DBusMenuAdaptor::DBusMenuAdaptor(DBusMenu *menu) : QDBusAbstractAdaptor(menu), m_menu(menu)
{
    setAutoRelaySignals(false);
}

uint DBusMenuAdaptor::GetLayout(int parentId, int recursionDepth, const QStringList &propertyNames,
                                dbusmenu::LayoutItem &layout)
{
    if (auto found = m_menu->layout(parentId, recursionDepth, propertyNames))
        layout = *found;
    else
        m_menu->refuse(noEntry(parentId));
    return DBusMenu::revision;
}

QList<dbusmenu::ItemProperties>
DBusMenuAdaptor::GetGroupProperties(const QList<int> &ids, const QStringList &propertyNames)
{
    // Unknown ids are left out, as the protocol asks.
    QList<dbusmenu::ItemProperties> found;
    for (int id : ids) {
        if (auto properties = m_menu->properties(id, propertyNames))
            found << dbusmenu::ItemProperties{id, *properties};
    }
    return found;
}

QDBusVariant DBusMenuAdaptor::GetProperty(int id, const QString &name)
{
    const auto properties = m_menu->properties(id, {name});
    if (!properties || !properties->contains(name)) {
        m_menu->refuse(properties ? QStringLiteral("No property %1").arg(name) : noEntry(id));
        return QDBusVariant(QString());
    }
    return QDBusVariant(properties->value(name));
}

void DBusMenuAdaptor::Event(int id, const QString &eventId, const QDBusVariant &, uint)
{
    if (!m_menu->handleEvent(id, eventId))
        m_menu->refuse(noEntry(id));
}

QList<int> DBusMenuAdaptor::EventGroup(const QList<dbusmenu::Event> &events)
{
    QList<int> idErrors;
    for (const dbusmenu::Event &event : events) {
        if (!m_menu->handleEvent(event.id, event.eventId))
            idErrors << event.id;
    }
    return idErrors;
}

// The labels are read on demand: nothing to prepare before the menu shows.
bool DBusMenuAdaptor::AboutToShow(int id)
{
    if (!m_menu->properties(id, {}))
        m_menu->refuse(noEntry(id));
    return false;
}

QList<int> DBusMenuAdaptor::AboutToShowGroup(const QList<int> &ids, QList<int> &idErrors)
{
    for (int id : ids) {
        if (!m_menu->properties(id, {}))
            idErrors << id;
    }
    return {};
}
