#pragma once

#include "platform/linux/DBusMenuTypes.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusContext>
#include <functional>
#include <optional>

class DBusMenuAdaptor;

// A flat menu served over com.canonical.dbusmenu, which panel hosts read from a
// StatusNotifierItem's Menu: a root (id 0) and one entry per label, numbered from 1.
// Labels are read each time a host asks, so they are always in the language of the moment.
class DBusMenu : public QObject, protected QDBusContext
{
    Q_OBJECT
public:
    using LabelSource = std::function<QStringList()>;

    DBusMenu(const QDBusConnection &bus, QString path, LabelSource labels,
             QObject *parent = nullptr);
    ~DBusMenu() override;

    // The labels read differently now: hosts that keep a copy are sent the new ones.
    void labelsChanged();

    // What the adaptor answers. The entries never change, only their labels: one revision.
    static constexpr uint revision = 1;
    std::optional<dbusmenu::LayoutItem> layout(int parentId, int depth,
                                               const QStringList &names) const;
    std::optional<QVariantMap> properties(int id, const QStringList &names) const;
    bool handleEvent(int id, const QString &eventId);
    // Answers the call being served with the bus's InvalidArgs error.
    void refuse(const QString &what);

Q_SIGNALS:
    // An entry was clicked; the index counts from 0 in label order.
    void triggered(int index);

private:
    QDBusConnection m_bus;
    QString m_path;
    LabelSource m_labels;
    DBusMenuAdaptor *m_adaptor = nullptr;
};

class DBusMenuAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version)
    Q_PROPERTY(QString TextDirection READ textDirection)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath)

public:
    explicit DBusMenuAdaptor(DBusMenu *menu);

    uint version() const { return 3; }
    QString textDirection() const { return QStringLiteral("ltr"); }
    QString status() const { return QStringLiteral("normal"); }
    QStringList iconThemePath() const { return {}; }

public Q_SLOTS:
    uint GetLayout(int parentId, int recursionDepth, const QStringList &propertyNames,
                   dbusmenu::LayoutItem &layout);
    QList<dbusmenu::ItemProperties> GetGroupProperties(const QList<int> &ids,
                                                       const QStringList &propertyNames);
    QDBusVariant GetProperty(int id, const QString &name);
    void Event(int id, const QString &eventId, const QDBusVariant &data, uint timestamp);
    QList<int> EventGroup(const QList<dbusmenu::Event> &events);
    bool AboutToShow(int id);
    QList<int> AboutToShowGroup(const QList<int> &ids, QList<int> &idErrors);

Q_SIGNALS:
    // Hosts subscribe to all three; this menu sends only the first.
    void ItemsPropertiesUpdated(const QList<dbusmenu::ItemProperties> &updatedProps,
                                const QList<dbusmenu::RemovedProperties> &removedProps);
    void LayoutUpdated(uint revision, int parent);
    void ItemActivationRequested(int id, uint timestamp);

private:
    DBusMenu *m_menu;
};
