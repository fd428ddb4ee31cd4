#include "platform/linux/StatusNotifierItem.h"

#include "platform/linux/DBusMenu.h"
#include "platform/linux/StatusNotifierItemAdaptor.h"

#include <QCoreApplication>
#include <QCursor>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QStandardPaths>

namespace {

// Several items in one process (tests) each need their own name.
int nextInstance = 1;

QString themeIconName()
{
    // Hosts prefer a theme name over pixmaps, but show nothing for a name they cannot find.
    const QString name = QString::fromLatin1(app_names::iconName);
    const QString installed = QStandardPaths::locate(
        QStandardPaths::GenericDataLocation,
        QStringLiteral("icons/hicolor/scalable/apps/") + name + QStringLiteral(".svg"));
    return installed.isEmpty() ? QString() : name;
}

} // namespace

StatusNotifierItem::StatusNotifierItem(const QDBusConnection &bus, QObject *parent)
    : StatusItem(parent), m_bus(bus), m_service(QStringLiteral("org.kde.StatusNotifierItem-%1-%2")
                                                    .arg(QCoreApplication::applicationPid())
                                                    .arg(nextInstance++)),
      m_iconName(themeIconName()), m_watcherOwner(QLatin1StringView(watcherService), bus,
                                                  QDBusServiceWatcher::WatchForOwnerChange),
      m_titleOwner(QLatin1StringView(titleShownElsewhere), bus,
                   QDBusServiceWatcher::WatchForOwnerChange)
{
    sni::registerTypes();
    m_menu = new DBusMenu(
        m_bus, QLatin1StringView(menuPath),
        [this] {
            QStringList labels;
            for (MenuEntry entry : menuEntries)
                labels << menuLabel(entry);
            return labels;
        },
        this);
    connect(m_menu, &DBusMenu::triggered, this,
            [this](int index) { Q_EMIT menuTriggered(menuEntries.at(index)); });
    m_adaptor = new StatusNotifierItemAdaptor(this);
    m_bus.registerObject(QLatin1StringView(itemPath), this, QDBusConnection::ExportAdaptors);
    connect(&m_watcherOwner, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &, const QString &newOwner) {
                setRegistered(false);
                if (!newOwner.isEmpty() && !m_withdrawn)
                    registerWithWatcher();
            });
    connect(&m_titleOwner, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &, const QString &newOwner) {
                setWithdrawn(!newOwner.isEmpty());
            });
    if (m_bus.interface()) {
        const QDBusReply<bool> shownElsewhere =
            m_bus.interface()->isServiceRegistered(QLatin1StringView(titleShownElsewhere));
        m_withdrawn = shownElsewhere.isValid() && shownElsewhere.value();
    }
    if (m_withdrawn)
        return;
    m_bus.registerService(m_service);
    registerWithWatcher();
}

StatusNotifierItem::~StatusNotifierItem()
{
    m_bus.unregisterObject(QLatin1StringView(itemPath));
    m_bus.unregisterService(m_service);
}

void StatusNotifierItem::setTitle(const QString &title)
{
    if (title == m_title)
        return;
    m_title = title;
    Q_EMIT m_adaptor->NewTitle();
    announceLabel();
}

void StatusNotifierItem::toolTipChanged()
{
    Q_EMIT m_adaptor->NewToolTip();
}

void StatusNotifierItem::menuLabelsChanged()
{
    m_menu->labelsChanged();
}

void StatusNotifierItem::activateFromPanel(int x, int y)
{
    Q_EMIT activated(x == 0 && y == 0 ? QCursor::pos() : QPoint(x, y));
}

void StatusNotifierItem::announceLabel()
{
    Q_EMIT m_adaptor->XAyatanaNewLabel(m_title, QLatin1StringView(labelGuide));
    // Hosts that watch properties through a generic proxy only hear PropertiesChanged.
    QDBusMessage changed = QDBusMessage::createSignal(
        QLatin1StringView(itemPath), QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("PropertiesChanged"));
    changed << QLatin1StringView(itemInterface)
            << QVariantMap{{QStringLiteral("Title"), m_title},
                           {QStringLiteral("XAyatanaLabel"), m_title}}
            << QStringList();
    m_bus.send(changed);
}

void StatusNotifierItem::registerWithWatcher()
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QLatin1StringView(watcherService), QLatin1StringView(watcherPath),
        QLatin1StringView(watcherService), QStringLiteral("RegisterStatusNotifierItem"));
    call << m_service;
    // No watcher means no panel: do not ask the bus to start one.
    call.setAutoStartService(false);
    // Asynchronous: a hung panel must never stall the app.
    auto *pending = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(pending, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher *finished) {
                finished->deleteLater();
                if (!finished->isError())
                    setRegistered(true);
            });
}

// One title in the panel, not two: hosts drop an item whose name goes away, and take it back
// when it registers again.
void StatusNotifierItem::setWithdrawn(bool withdrawn)
{
    if (withdrawn == m_withdrawn)
        return;
    m_withdrawn = withdrawn;
    if (withdrawn) {
        m_bus.unregisterService(m_service);
        setRegistered(false);
        return;
    }
    m_bus.registerService(m_service);
    registerWithWatcher();
}

void StatusNotifierItem::setRegistered(bool registered)
{
    if (registered)
        Q_EMIT this->registered();
    if (registered == m_registered)
        return;
    m_registered = registered;
    Q_EMIT visibleChanged(registered);
}
