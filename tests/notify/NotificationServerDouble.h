#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace testing {

// org.freedesktop.Notifications as a desktop would serve it, recording every Notify call.
class NotificationServerDouble : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    struct Call
    {
        QString appName;
        uint replacesId;
        QString appIcon;
        QString summary;
        QString body;
        QVariantMap hints;
        uint returnedId;
    };
    QList<Call> calls;
    // A hung server: calls are received and recorded but never answered.
    bool hung = false;

    // Registers the object and takes the well-known name on `bus`.
    bool serveOn(QDBusConnection bus)
    {
        m_bus = bus;
        return bus.registerObject(QStringLiteral("/org/freedesktop/Notifications"), this,
                                  QDBusConnection::ExportAllSlots) &&
               bus.registerService(QStringLiteral("org.freedesktop.Notifications"));
    }
    void stop()
    {
        m_bus.unregisterService(QStringLiteral("org.freedesktop.Notifications"));
        m_bus.unregisterObject(QStringLiteral("/org/freedesktop/Notifications"));
    }

public Q_SLOTS:
    uint Notify(const QString &appName, uint replacesId, const QString &appIcon,
                const QString &summary, const QString &body, const QStringList &,
                const QVariantMap &hints, int)
    {
        if (hung)
            setDelayedReply(true);
        const uint id = replacesId ? replacesId : ++m_lastId;
        calls.append({appName, replacesId, appIcon, summary, body, hints, id});
        return id;
    }
    // Its answer is the permission; the values are never read.
    QString GetServerInformation(QString &, QString &, QString &)
    {
        if (hung)
            setDelayedReply(true);
        return QStringLiteral("double");
    }

private:
    QDBusConnection m_bus{QString()};
    uint m_lastId = 0;
};

} // namespace testing
