#include "platform/linux/UserLock.h"

#include "base/AppNames.h"

#include <QCoroTimer>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {
constexpr std::chrono::milliseconds retryEvery{20};
}

UserLock::UserLock(const QString &fileName)
{
    // $XDG_RUNTIME_DIR, or else a folder of the user's own that Qt makes and checks (owned by
    // us, 0700, not a link); none at all when neither can be had.
    const QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (runtime.isEmpty()) {
        qWarning("%s: no private runtime folder for the lock %s; it cannot be taken",
                 app_names::executable, qPrintable(fileName));
        return;
    }
    const QString path = QDir(runtime).filePath(fileName);
    // Close-on-exec: a helper process started meanwhile must not inherit the lock. Never through
    // a link someone else left there.
    m_fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW,
                  0600);
    if (m_fd < 0)
        qWarning("%s: cannot open the lock %s: %s", app_names::executable, qPrintable(path),
                 std::strerror(errno));
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
    m_locked = m_fd >= 0 && ::flock(m_fd, LOCK_EX | LOCK_NB) == 0;
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
