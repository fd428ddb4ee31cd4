#pragma once

#include "app/StatusItem.h"
#include "base/AppNames.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>

class DBusMenu;
class StatusNotifierItemAdaptor;

// The panel item on Linux desktops: an org.kde.StatusNotifierItem exported at
// /StatusNotifierItem under its own bus name and registered with the panel's
// StatusNotifierWatcher, again whenever the watcher comes back (a panel restart or crash).
// The title travels as the item's Title and as its XAyatanaLabel, the text shown beside the icon.
// Its Menu, at /MenuBar, is what a right click shows; some hosts refuse an item without one.
class StatusNotifierItem : public StatusItem
{
    Q_OBJECT
public:
    static constexpr auto itemPath = "/StatusNotifierItem";
    static constexpr auto menuPath = "/MenuBar";
    static constexpr auto itemInterface = "org.kde.StatusNotifierItem";
    static constexpr auto watcherService = "org.kde.StatusNotifierWatcher";
    static constexpr auto watcherPath = "/StatusNotifierWatcher";
    static constexpr auto id = app_names::executable;
    // Owned by a shell extension that shows the title itself; while it is, the item steps back.
    static constexpr auto titleShownElsewhere = app_names::panelTitleName;
    // The widest title we expect, so the panel keeps a steady width as the number changes.
    static constexpr auto labelGuide = "M +000.0%";

    explicit StatusNotifierItem(const QDBusConnection &bus, QObject *parent = nullptr);
    ~StatusNotifierItem() override;

    void setTitle(const QString &title) override;
    void toolTipChanged() override;
    void menuLabelsChanged() override;
    QString title() const override { return m_title; }
    bool isVisible() const override { return m_registered; }

    // org.kde.StatusNotifierItem-<pid>-<n>, owned for the life of the item.
    QString serviceName() const { return m_service; }
    // The icon's theme name once an icon theme can resolve it, else empty (hosts use the pixmaps).
    QString iconName() const { return m_iconName; }

    // Activation from the panel: a zero point means the host did not say where.
    void activateFromPanel(int x, int y);

Q_SIGNALS:
    // The watcher accepted the item; emitted again after each re-registration.
    void registered();

private:
    void registerWithWatcher();
    void setRegistered(bool registered);
    void setWithdrawn(bool withdrawn);
    void announceLabel();

    QDBusConnection m_bus;
    QString m_service;
    QString m_title;
    QString m_iconName;
    bool m_registered = false;
    bool m_withdrawn = false;
    StatusNotifierItemAdaptor *m_adaptor = nullptr;
    DBusMenu *m_menu = nullptr;
    QDBusServiceWatcher m_watcherOwner;
    QDBusServiceWatcher m_titleOwner;
};
