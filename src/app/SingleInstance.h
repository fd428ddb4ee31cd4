#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <chrono>
#include <optional>

class QLocalServer;
class QLocalSocket;

// One running shell per user. The first instance listens on a user-private local socket; a
// later `mireo-pulse [URL]` hands its URL (or, without one, a request to toggle the quick
// panel) to it and exits. Wire format: one UTF-8 line, the URL or nothing, then "\n"; the
// first instance answers "ok\n". The URL never reaches a log or a file.
class SingleInstance : public QObject
{
    Q_OBJECT
public:
    static constexpr qsizetype maxMessageBytes = 16 * 1024;
    static constexpr std::chrono::milliseconds defaultPeerTimeout{2000};

    enum class Role {
        Primary,   // listening; this process is the app
        Alone,     // could not listen; this process is the app, without forwarding
        Forwarded, // a running instance took the message: exit 0
        Failed,    // a running instance did not take it: exit non-zero
    };

    // $XDG_RUNTIME_DIR/mireo-pulse-<uid>.socket, or the temporary folder without one.
    static QString defaultSocketPath();

    explicit SingleInstance(QString socketPath = defaultSocketPath(), QObject *parent = nullptr);
    ~SingleInstance() override;

    // Forwards `argument` to the running instance, or becomes it; then a URL waits for
    // launchFinished() like any message that arrives before it. Only URLs of our scheme count;
    // anything else, or nothing, asks the running instance to toggle the quick panel.
    Role start(const QString &argument);

    // Delivers what waited, in order of arrival; later messages are delivered at once.
    void launchFinished();

    // How long a peer may take to send its line before it is dropped.
    void setPeerTimeout(std::chrono::milliseconds timeout) { m_peerTimeout = timeout; }

Q_SIGNALS:
    // A URL of our scheme, from our own command line or a later launch.
    void urlReceived(const QString &url);
    // A later launch without a URL.
    void toggleRequested();

private:
    static Role forward(QLocalSocket &socket, const QString &url);
    bool listen();
    void acceptPeers();
    void readPeer(QLocalSocket *peer);
    void deliver(const QString &message);

    const QString m_socketPath;
    QLocalServer *m_server = nullptr;
    std::chrono::milliseconds m_peerTimeout = defaultPeerTimeout;
    bool m_launchFinished = false;
    QList<QString> m_waiting;
};

// Whether a line from a peer is a message we act on: valid UTF-8 without control characters,
// empty or a URL of our scheme. Returns the message, or nothing for garbage.
std::optional<QString> decodeInstanceMessage(const QByteArray &line);
