#pragma once

#include "base/AppNames.h"
#include "platform/linux/FocusToken.h"

#include <QDBusConnection>
#include <QObject>
#include <QPoint>
#include <QString>
#include <QStringList>
#include <memory>

class QDBusMessage;

// The app's place on the session bus. Owning the well-known name is being the one app of this
// user: every other entry point (a second launch, a link, a status-bar command, a panel applet)
// is its client. Nothing here ever carries a token.
namespace pulse_bus {
inline constexpr auto &serviceName = app_names::busName;
inline constexpr auto &objectPath = app_names::objectPath;
inline constexpr char applicationInterface[] = "org.freedesktop.Application";
inline constexpr auto &stateInterface = app_names::stateInterface;
struct State;
} // namespace pulse_bus

// The owner's side: org.freedesktop.Application (Activate, Open) and the state interface (Title,
// Status, ToolTip, Tone, Stale, Metric; ActivateAt, BeginSignIn) at the object path. Requests
// that arrive before launch has finished wait for it.
class PulseBusService : public QObject
{
    Q_OBJECT
public:
    // A peer is a user's launcher, not a flood: more links than this in one call is refused.
    static constexpr qsizetype maxLinksPerCall = 16;
    static constexpr qsizetype maxLinkLength = 16 * 1024;

    enum class Claim {
        Owner, // this process is the app
        Taken, // another process is: hand over to it
        NoBus, // no session bus: run alone
    };

    explicit PulseBusService(QDBusConnection bus = QDBusConnection::sessionBus(),
                             QObject *parent = nullptr);
    ~PulseBusService() override;

    // Exports the object, then asks for the name, so a peer that sees the name finds the object.
    Claim claim();

    // The state the properties show; what changed is announced with PropertiesChanged.
    void publish(const pulse_bus::State &state);
    const pulse_bus::State &state() const { return *m_state; }

    // Delivers what waited, in order of arrival; later requests are delivered at once.
    void launchFinished();

    // From the bus adaptor.
    void activate();
    void activateAt(QPoint point);
    void beginSignIn();
    // False when the call is refused as a whole; links that are not ours are dropped.
    bool open(const QStringList &uris);

Q_SIGNALS:
    // Before the request they came with: what lets the window it opens take the focus.
    void focusTokensReceived(const focus_token::Tokens &tokens);
    void activateRequested();
    // A panel that shows the title itself was clicked at this point on screen.
    void popoverRequested(QPoint point);
    void linkReceived(const QString &url);
    // Someone asks for the sign-in page; the app decides whether a sign-in may begin.
    void signInRequested();

private:
    void deliver(const QString &link); // empty: activate

    QDBusConnection m_bus;
    bool m_exported = false;
    bool m_launchFinished = false;
    QStringList m_waiting;
    std::unique_ptr<pulse_bus::State> m_state;
};
