#include "SignalQuitter.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

SignalQuitter::SignalQuitter(QObject *parent) : QObject(parent)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, s_fds) != 0)
        return; // without the pair the default handlers stay, which still end the process
    m_notifier = new QSocketNotifier(s_fds[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [] {
        char byte = 0;
        if (::read(s_fds[1], &byte, 1) == 1)
            QCoreApplication::quit();
    });
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
}

SignalQuitter::~SignalQuitter()
{
    if (!m_notifier)
        return;
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    delete m_notifier;
    ::close(s_fds[0]);
    ::close(s_fds[1]);
    s_fds[0] = s_fds[1] = -1;
}

void SignalQuitter::onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(s_fds[0], &byte, 1);
}
