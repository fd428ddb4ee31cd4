#include "platform/linux/UserLock.h"

#include <QCoroTimer>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {
constexpr std::chrono::milliseconds retryEvery{20};
}

UserLock::UserLock(const QString &fileName)
{
    // Without a runtime folder, the shared temporary one, under a name that is the user's.
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const QString path =
        runtime.isEmpty()
            ? QDir::temp().filePath(QStringLiteral("%1-%2").arg(::getuid()).arg(fileName))
            : QDir(runtime).filePath(fileName);
    // Close-on-exec: a helper process started meanwhile must not inherit the lock. Never through
    // a link someone else left there.
    m_fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW,
                  0600);
}

UserLock::~UserLock()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

bool UserLock::tryLock()
{
    if (m_locked)
        return true;
    m_locked = m_fd < 0 || ::flock(m_fd, LOCK_EX | LOCK_NB) == 0;
    return m_locked;
}

void UserLock::unlock()
{
    if (m_locked && m_fd >= 0)
        ::flock(m_fd, LOCK_UN);
    m_locked = false;
}

QCoro::Task<std::unique_ptr<UserLock>> UserLock::acquire(QString fileName,
                                                         std::chrono::milliseconds patience)
{
    auto lock = std::make_unique<UserLock>(fileName);
    const QDeadlineTimer deadline(patience);
    while (!lock->tryLock()) {
        if (deadline.hasExpired())
            co_return std::unique_ptr<UserLock>();
        co_await QCoro::sleepFor(retryEvery);
    }
    co_return lock;
}
