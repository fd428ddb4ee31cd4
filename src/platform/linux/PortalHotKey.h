#pragma once

#include "app/HotKey.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QList>
#include <QVariantMap>
#include <chrono>
#include <optional>

class QDBusArgument;

// The desktop portal's global shortcuts (org.freedesktop.portal.GlobalShortcuts), how a Wayland
// desktop lets an app have a system-wide key.
namespace portal_shortcuts {
inline constexpr char service[] = "org.freedesktop.portal.Desktop";
inline constexpr char path[] = "/org/freedesktop/portal/desktop";
inline constexpr char interface[] = "org.freedesktop.portal.GlobalShortcuts";
inline constexpr char requestInterface[] = "org.freedesktop.portal.Request";
inline constexpr char quickPanelId[] = "quick-panel";

// One entry of a(sa{sv}): the shortcut's id and what is known of it (description, trigger).
struct Shortcut
{
    QString id;
    QVariantMap properties;
};
using Shortcuts = QList<Shortcut>;

void registerTypes();
// The portal's spelling of a key combination: "ALT+SHIFT+k".
QString trigger(QKeyCombination combination);
} // namespace portal_shortcuts

QDBusArgument &operator<<(QDBusArgument &out, const portal_shortcuts::Shortcut &shortcut);
const QDBusArgument &operator>>(const QDBusArgument &in, portal_shortcuts::Shortcut &shortcut);
Q_DECLARE_METATYPE(portal_shortcuts::Shortcut)

// The hot key through the portal: one session per run, one shortcut ("quick-panel"), and the
// panel toggles on each Activated. The portal keeps a binding across restarts, so a run that
// finds ours listed does not bind again: the user confirms it once. Only the portal's own
// signals count.
class PortalHotKey final : public HotKey
{
    Q_OBJECT
public:
    // `answerTimeout` bounds each wait for the portal, the user's confirmation included.
    PortalHotKey(QDBusConnection bus, QString description,
                 std::chrono::milliseconds answerTimeout = std::chrono::minutes(2),
                 QObject *parent = nullptr);

    // Starts binding; the answer comes with finished(). False: nothing is bound yet.
    bool registerCombination(QKeyCombination combination) override;

Q_SIGNALS:
    // Once: true when the shortcut is bound (now or in an earlier run), false when there is no
    // portal with global shortcuts, it refused, or it did not answer in time.
    void finished(bool bound);

private Q_SLOTS:
    void portalActivated(const QDBusObjectPath &session, const QString &shortcut,
                         qulonglong timestamp, const QVariantMap &options);

private:
    enum class Method { CreateSession, ListShortcuts, BindShortcuts };

    QCoro::Task<> bind(QKeyCombination combination);
    // Calls `method` with a fresh handle token added to its options and waits for the
    // request's Response; its results when the code is 0.
    QCoro::Task<std::optional<QVariantMap>> request(Method method, QVariantList arguments,
                                                    QVariantMap options = {});
    static QDBusMessage versionQuery();
    static QVariantMap sessionOptions();
    static QString handleToken(int serial);
    static bool listsQuickPanel(const QVariantMap &results);
    static QDBusMessage methodCall(Method method, QVariantList arguments, QVariantMap options,
                                   const QString &token);
    portal_shortcuts::Shortcuts wanted(QKeyCombination combination) const;
    void listenForResponse(const QString &token, QObject *catcher);
    void listenForActivations();

    QDBusConnection m_bus;
    const QString m_description;
    const std::chrono::milliseconds m_answerTimeout;
    QDBusObjectPath m_session;
    int m_requests = 0;
    bool m_bound = false;
};
