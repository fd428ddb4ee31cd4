#include "app/SingleInstance.h"

#include "app/UrlRouting.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QStringDecoder>
#include <QTimer>
#include <unistd.h>
#include <utility>

namespace {
constexpr int connectTimeoutMs = 1000;
constexpr int answerTimeoutMs = 3000;
// Messages that arrive before launch has finished; more than this is not a user.
constexpr qsizetype maxWaiting = 32;
const QByteArray acknowledgement = "ok\n";

void drop(QLocalSocket *peer)
{
    peer->abort();
    peer->deleteLater();
}
} // namespace

std::optional<QString> decodeInstanceMessage(const QByteArray &line)
{
    if (line.size() > SingleInstance::maxMessageBytes)
        return std::nullopt;
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = utf8(line);
    if (utf8.hasError())
        return std::nullopt;
    for (const QChar c : text) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            return std::nullopt;
    }
    if (!text.isEmpty() && !isCallbackUrl(text))
        return std::nullopt;
    return text;
}

QString SingleInstance::defaultSocketPath()
{
    QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (folder.isEmpty() || !QDir(folder).exists())
        folder = QDir::tempPath();
    return QDir(folder).filePath(QStringLiteral("mireo-pulse-%1.socket").arg(::getuid()));
}

SingleInstance::SingleInstance(QString socketPath, QObject *parent)
    : QObject(parent), m_socketPath(std::move(socketPath))
{
}

SingleInstance::~SingleInstance() = default;

SingleInstance::Role SingleInstance::start(const QString &argument)
{
    // The desktop only hands us links of our scheme; anything else counts as no link at all.
    const QString url = isCallbackUrl(argument) ? argument : QString();

    // Two launches at once must not both decide to be first; the lock makes the decision atomic.
    QLockFile lock(m_socketPath + QStringLiteral(".lock"));
    lock.tryLock(answerTimeoutMs);

    QLocalSocket socket;
    socket.connectToServer(m_socketPath);
    if (socket.waitForConnected(connectTimeoutMs))
        return forward(socket, url);
    const Role role = listen() ? Role::Primary : Role::Alone;
    if (!url.isEmpty())
        deliver(url);
    return role;
}

SingleInstance::Role SingleInstance::forward(QLocalSocket &socket, const QString &url)
{
    socket.write(url.toUtf8() + '\n');
    if (!socket.waitForBytesWritten(answerTimeoutMs))
        return Role::Failed;
    QByteArray answer;
    while (answer.size() < acknowledgement.size() && socket.waitForReadyRead(answerTimeoutMs))
        answer += socket.read(acknowledgement.size() - answer.size());
    return answer == acknowledgement ? Role::Forwarded : Role::Failed;
}

bool SingleInstance::listen()
{
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, &SingleInstance::acceptPeers);
    if (m_server->listen(m_socketPath))
        return true;
    // Nobody answered, so a socket file left there belongs to an instance that crashed.
    QLocalServer::removeServer(m_socketPath);
    return m_server->listen(m_socketPath);
}

void SingleInstance::acceptPeers()
{
    while (QLocalSocket *peer = m_server->nextPendingConnection()) {
        // A full buffer without a line end is too much; a peer that stalls is dropped.
        peer->setReadBufferSize(maxMessageBytes + 1);
        QTimer::singleShot(m_peerTimeout, peer, [peer] { drop(peer); });
        connect(peer, &QLocalSocket::readyRead, this, [this, peer] { readPeer(peer); });
        connect(peer, &QLocalSocket::disconnected, peer, &QObject::deleteLater);
        if (peer->bytesAvailable() > 0)
            readPeer(peer);
    }
}

void SingleInstance::readPeer(QLocalSocket *peer)
{
    if (peer->state() != QLocalSocket::ConnectedState)
        return;
    if (!peer->canReadLine()) {
        if (peer->bytesAvailable() > maxMessageBytes)
            drop(peer);
        return;
    }
    QByteArray line = peer->readLine(maxMessageBytes + 2);
    // One line and nothing after it; anything more is not our client.
    if (!line.endsWith('\n') || peer->bytesAvailable() > 0) {
        drop(peer);
        return;
    }
    line.chop(1);
    const std::optional<QString> message = decodeInstanceMessage(line);
    if (!message) {
        drop(peer);
        return;
    }
    peer->write(acknowledgement);
    peer->disconnectFromServer();
    deliver(*message);
}

void SingleInstance::launchFinished()
{
    m_launchFinished = true;
    const QList<QString> waiting = std::exchange(m_waiting, {});
    for (const QString &message : waiting)
        deliver(message);
}

void SingleInstance::deliver(const QString &message)
{
    if (!m_launchFinished) {
        if (m_waiting.size() < maxWaiting)
            m_waiting.append(message);
        return;
    }
    if (message.isEmpty())
        Q_EMIT toggleRequested();
    else
        Q_EMIT urlReceived(message);
}
