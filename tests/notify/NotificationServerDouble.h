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
        QString summary;
        QString body;
        QVariantMap hints;
        uint returnedId;
    };
    QList<Call> calls;
    bool hung = false; // calls are recorded but never answered

    bool serveOn(QDBusConnection bus)
    {
        m_bus = bus;
        return bus.registerObject(path, this, QDBusConnection::ExportAllSlots) &&
               bus.registerService(name);
    }
    void stop()
    {
        m_bus.unregisterService(name);
        m_bus.unregisterObject(path);
    }

public Q_SLOTS:
    uint Notify(const QString &appName, uint replacesId, const QString &, const QString &summary,
                const QString &body, const QStringList &, const QVariantMap &hints, int)
    {
        setDelayedReply(hung);
        const uint id = replacesId ? replacesId : ++m_lastId;
        calls.append({appName, replacesId, summary, body, hints, id});
        return id;
    }
    // Its answer is the permission; the values are never read.
    QString GetServerInformation(QString &, QString &, QString &)
    {
        setDelayedReply(hung);
        return QStringLiteral("double");
    }

private:
    static inline const QString name = QStringLiteral("org.freedesktop.Notifications");
    static inline const QString path = QStringLiteral("/org/freedesktop/Notifications");
    QDBusConnection m_bus{QString()};
    uint m_lastId = 0;
};

} // namespace testing
