#include "platform/linux/PortalHotKey.h"

#include <QCoroDBusPendingCall>
#include <QCoroSignal>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QPointer>
#include <QTimer>

namespace portal_shortcuts {

void registerTypes()
{
    qDBusRegisterMetaType<Shortcut>();
    qDBusRegisterMetaType<Shortcuts>();
}

QString trigger(QKeyCombination combination)
{
    QString text;
    const Qt::KeyboardModifiers modifiers = combination.keyboardModifiers();
    if (modifiers & Qt::ControlModifier)
        text += QStringLiteral("CTRL+");
    if (modifiers & Qt::AltModifier)
        text += QStringLiteral("ALT+");
    if (modifiers & Qt::ShiftModifier)
        text += QStringLiteral("SHIFT+");
    if (modifiers & Qt::MetaModifier)
        text += QStringLiteral("LOGO+");
    // Key names are keysym names: lower-case letters, digits as they are.
    return text + QChar(char16_t(combination.key())).toLower();
}

} // namespace portal_shortcuts

QDBusArgument &operator<<(QDBusArgument &out, const portal_shortcuts::Shortcut &shortcut)
{
    out.beginStructure();
    out << shortcut.id << shortcut.properties;
    out.endStructure();
    return out;
}

const QDBusArgument &operator>>(const QDBusArgument &in, portal_shortcuts::Shortcut &shortcut)
{
    in.beginStructure();
    in >> shortcut.id >> shortcut.properties;
    in.endStructure();
    return in;
}

namespace {

using namespace portal_shortcuts;

// Receives one request's Response.
class ResponseCatcher : public QObject
{
    Q_OBJECT
public:
    std::optional<std::pair<uint, QVariantMap>> answer;

public Q_SLOTS:
    void Response(uint code, const QVariantMap &results)
    {
        if (answer)
            return;
        answer.emplace(code, results);
        Q_EMIT answered();
    }

Q_SIGNALS:
    void answered();
};

// Portals answer with a string (as documented) or an object path.
QDBusObjectPath sessionHandle(const QVariantMap &results)
{
    const QVariant handle = results.value(QStringLiteral("session_handle"));
    return handle.canConvert<QDBusObjectPath>() ? handle.value<QDBusObjectPath>()
                                                : QDBusObjectPath(handle.toString());
}

} // namespace

PortalHotKey::PortalHotKey(QDBusConnection bus, QString description,
                           std::chrono::milliseconds answerTimeout, QObject *parent)
    : HotKey(parent), m_bus(std::move(bus)), m_description(std::move(description)),
      m_answerTimeout(answerTimeout)
{
    registerTypes();
}

bool PortalHotKey::registerCombination(QKeyCombination combination)
{
    bind(combination);
    return false;
}

QCoro::Task<> PortalHotKey::bind(QKeyCombination combination)
{
    QPointer<PortalHotKey> self(this);
    const auto done = [self](bool bound) {
        if (self) {
            self->m_bound = bound;
            Q_EMIT self->finished(bound);
        }
    };
    const QDBusMessage reply =
        co_await m_bus.asyncCall(versionQuery(), int(m_answerTimeout.count()));
    if (!self || reply.type() != QDBusMessage::ReplyMessage) {
        done(false);
        co_return;
    }

    // Arguments are built before each co_await: GCC 12 cannot keep an initializer list's array
    // in a coroutine's frame.
    const auto session = co_await request(Method::CreateSession, QVariantList(), sessionOptions());
    if (!self || !session) {
        done(false);
        co_return;
    }
    m_session = sessionHandle(*session);
    listenForActivations();

    QVariantList arguments;
    arguments << QVariant::fromValue(m_session);
    const auto listed = co_await request(Method::ListShortcuts, arguments);
    if (!self)
        co_return;
    if (listed && listsQuickPanel(*listed)) {
        done(true);
        co_return;
    }

    arguments << QVariant::fromValue(wanted(combination)) << QString();
    const auto bound = co_await request(Method::BindShortcuts, arguments);
    if (!self)
        co_return;
    done(bound && listsQuickPanel(*bound));
}

QCoro::Task<std::optional<QVariantMap>> PortalHotKey::request(Method method, QVariantList arguments,
                                                              QVariantMap options)
{
    QPointer<PortalHotKey> self(this);
    const QString token = handleToken(++m_requests);
    ResponseCatcher catcher;
    // The request's path is known before the call, so its Response cannot slip past us.
    listenForResponse(token, &catcher);
    const QDBusMessage reply = co_await m_bus.asyncCall(
        methodCall(method, std::move(arguments), std::move(options), token),
        int(m_answerTimeout.count()));
    if (!self || reply.type() != QDBusMessage::ReplyMessage)
        co_return std::nullopt;
    if (!catcher.answer)
        co_await qCoro(&catcher, &ResponseCatcher::answered, m_answerTimeout);
    if (!self || !catcher.answer || catcher.answer->first != 0)
        co_return std::nullopt;
    co_return catcher.answer->second;
}

// What the coroutines above send, worded outside them.

QDBusMessage PortalHotKey::versionQuery()
{
    // A portal without global shortcuts has no such interface to read a property of.
    QDBusMessage query = QDBusMessage::createMethodCall(
        QLatin1StringView(service), QLatin1StringView(path),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    query << QLatin1StringView(interface) << QStringLiteral("version");
    return query;
}

QVariantMap PortalHotKey::sessionOptions()
{
    return {{QStringLiteral("session_handle_token"), QStringLiteral("mireo_pulse")}};
}

QString PortalHotKey::handleToken(int serial)
{
    return QStringLiteral("mireo_pulse_") + QString::number(serial);
}

Shortcuts PortalHotKey::wanted(QKeyCombination combination) const
{
    return {{QLatin1StringView(quickPanelId),
             {{QStringLiteral("description"), m_description},
              {QStringLiteral("preferred_trigger"), trigger(combination)}}}};
}

bool PortalHotKey::listsQuickPanel(const QVariantMap &results)
{
    const auto listed = qdbus_cast<Shortcuts>(results.value(QStringLiteral("shortcuts")));
    return std::any_of(listed.cbegin(), listed.cend(), [](const Shortcut &shortcut) {
        return shortcut.id == QLatin1StringView(quickPanelId);
    });
}

QDBusMessage PortalHotKey::methodCall(Method method, QVariantList arguments, QVariantMap options,
                                      const QString &token)
{
    static constexpr const char *names[] = {"CreateSession", "ListShortcuts", "BindShortcuts"};
    QDBusMessage call = QDBusMessage::createMethodCall(
        QLatin1StringView(service), QLatin1StringView(path), QLatin1StringView(interface),
        QLatin1StringView(names[int(method)]));
    options.insert(QStringLiteral("handle_token"), token);
    arguments.append(options);
    call.setArguments(arguments);
    return call;
}

void PortalHotKey::listenForResponse(const QString &token, QObject *catcher)
{
    const QString sender = m_bus.baseService().mid(1).replace(u'.', u'_');
    m_bus.connect(QLatin1StringView(service),
                  QLatin1StringView(path) + QStringLiteral("/request/") + sender + u'/' + token,
                  QLatin1StringView(requestInterface), QStringLiteral("Response"), catcher,
                  SLOT(Response(uint, QVariantMap)));
}

void PortalHotKey::listenForActivations()
{
    m_bus.connect(QLatin1StringView(service), QLatin1StringView(path), QLatin1StringView(interface),
                  QStringLiteral("Activated"), this,
                  SLOT(portalActivated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
}

void PortalHotKey::portalActivated(const QDBusObjectPath &session, const QString &shortcut,
                                   qulonglong, const QVariantMap &)
{
    if (!m_bound || session != m_session || shortcut != QLatin1StringView(quickPanelId))
        return;
    QTimer::singleShot(0, this, &HotKey::activated);
}

#include "PortalHotKey.moc"
