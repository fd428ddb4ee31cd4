#include "platform/linux/KeychainSecretStore.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QEventLoop>
#include <QTimer>
#include <qt6keychain/keychain.h>

namespace {

// A locked keychain may ask the user to unlock it; give them time, but never hang for good.
constexpr int firstReadLimitMs = 25'000;
constexpr int flushLimitMs = 5'000;

void waitFor(QKeychain::Job *job, int limitMs)
{
    QEventLoop loop;
    QObject::connect(job, &QKeychain::Job::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(limitMs, &loop, &QEventLoop::quit);
    loop.exec(QEventLoop::ExcludeUserInputEvents);
}

// A Secret Service or KWallet on the session bus, running or started on demand.
bool keychainServiceExists()
{
    const QDBusConnectionInterface *bus = QDBusConnection::sessionBus().interface();
    if (!bus)
        return false;
    const QDBusReply<QStringList> activatable = bus->activatableServiceNames();
    for (const char *name : {"org.freedesktop.secrets", "org.kde.kwalletd5", "org.kde.kwalletd6"}) {
        const QString service = QString::fromLatin1(name);
        const QDBusReply<bool> running = bus->isServiceRegistered(service);
        if ((running.isValid() && running.value()) ||
            (activatable.isValid() && activatable.value().contains(service)))
            return true;
    }
    return false;
}

} // namespace

KeychainSecretStore::KeychainSecretStore(QString service, QObject *parent)
    : QObject(parent), m_service(std::move(service))
{
}

KeychainSecretStore::~KeychainSecretStore()
{
    flush();
}

std::optional<QString> KeychainSecretStore::read(const QString &key)
{
    const auto known = m_mirror.constFind(key);
    if (known != m_mirror.cend())
        return *known;

    auto *job = new QKeychain::ReadPasswordJob(m_service, this);
    job->setInsecureFallback(false);
    job->setAutoDelete(false);
    job->setKey(key);
    bool finished = false;
    connect(job, &QKeychain::Job::finished, this, [&finished] { finished = true; });
    job->start();
    if (!finished)
        waitFor(job, firstReadLimitMs);
    std::optional<QString> value;
    if (finished && job->error() == QKeychain::NoError)
        value = job->textData();
    // Only "there is none" says the secret is missing; a keychain that failed or never answered
    // is asked again next time. So does a desktop with no keychain service at all: nothing can
    // have been kept there. A clear answer is kept.
    if (finished && (job->error() == QKeychain::NoError ||
                     job->error() == QKeychain::EntryNotFound || !keychainServiceExists()))
        m_mirror.insert(key, value);
    job->disconnect(this);
    job->deleteLater();
    return value;
}

void KeychainSecretStore::replace(const QString &key, const QString &value)
{
    m_mirror.insert(key, value);
    auto *job = new QKeychain::WritePasswordJob(m_service, this);
    job->setInsecureFallback(false);
    job->setKey(key);
    job->setTextData(value);
    ++m_pending;
    connect(job, &QKeychain::Job::finished, this, [this] { --m_pending; });
    job->start();
}

void KeychainSecretStore::remove(const QString &key)
{
    m_mirror.insert(key, std::nullopt);
    auto *job = new QKeychain::DeletePasswordJob(m_service, this);
    job->setInsecureFallback(false);
    job->setKey(key);
    ++m_pending;
    connect(job, &QKeychain::Job::finished, this, [this] { --m_pending; });
    job->start();
}

void KeychainSecretStore::flush()
{
    if (m_pending == 0)
        return;
    QEventLoop loop;
    QTimer poll;
    connect(&poll, &QTimer::timeout, &loop, [this, &loop] {
        if (m_pending == 0)
            loop.quit();
    });
    poll.start(10);
    QTimer::singleShot(flushLimitMs, &loop, &QEventLoop::quit);
    loop.exec(QEventLoop::ExcludeUserInputEvents);
}
