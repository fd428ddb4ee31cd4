#pragma once

#include <QByteArray>
#include <QStandardPaths>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace testing {

// An X server of our own (Xvfb) on a display number it picks itself, so windows, key grabs and
// screenshots never touch the desktop the tests run on. Dies with the test, even one that aborts.
class PrivateXServer
{
public:
    PrivateXServer()
    {
        const QByteArray program = QStandardPaths::findExecutable("Xvfb").toLocal8Bit();
        int fds[2];
        if (program.isEmpty() || ::pipe(fds) != 0)
            return;
        // -displayfd: the server writes the display number it chose to us.
        const QByteArray fd = QByteArray::number(fds[1]);
        m_pid = ::fork();
        if (m_pid == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            const int null = ::open("/dev/null", O_RDWR);
            ::dup2(null, 0);
            ::dup2(null, 1);
            ::dup2(null, 2);
            ::execl(program.constData(), program.constData(), "-displayfd", fd.constData(),
                    "-nolisten", "tcp", "-screen", "0", "1024x768x24", nullptr);
            ::_exit(127);
        }
        if (m_pid < 0)
            m_pid = 0;
        ::close(fds[1]);
        QByteArray number;
        pollfd reader{fds[0], POLLIN, 0};
        char c = 0;
        while (m_pid && ::poll(&reader, 1, 10000) > 0 && ::read(fds[0], &c, 1) == 1 && c != '\n')
            number += c;
        ::close(fds[0]);
        if (!number.isEmpty())
            m_display = ":" + number;
    }
    ~PrivateXServer()
    {
        if (m_pid) {
            ::kill(m_pid, SIGTERM);
            ::waitpid(m_pid, nullptr, 0);
        }
    }
    PrivateXServer(const PrivateXServer &) = delete;
    PrivateXServer &operator=(const PrivateXServer &) = delete;

    // Empty when Xvfb is missing or did not start.
    QByteArray display() const { return m_display; }

private:
    pid_t m_pid = 0;
    QByteArray m_display;
};

} // namespace testing
