#pragma once

#include <QCoroTask>
#include <QString>
#include <chrono>
#include <memory>

// A lock shared by every process of this user: an advisory lock on a file in the user's private
// runtime folder, which the system releases when its holder ends, however it ends. Where no
// such file can be opened it is never had (and the log says why): another user must not be
// able to make us work unguarded.
class UserLock
{
public:
    explicit UserLock(const QString &fileName);
    ~UserLock();
    UserLock(const UserLock &) = delete;
    UserLock &operator=(const UserLock &) = delete;

    // Takes the lock if it is free; true while held.
    bool tryLock();
    void unlock();
    // The lock's file; a child process that keeps it open keeps the lock after we are gone.
    int fileDescriptor() const { return m_fd; }

    // Tries until `patience` runs out, without blocking the event loop; empty if never had.
    static QCoro::Task<std::unique_ptr<UserLock>> acquire(QString fileName,
                                                          std::chrono::milliseconds patience);

private:
    int m_fd = -1;
    bool m_locked = false;
};
