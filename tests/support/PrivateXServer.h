#pragma once

#include <QProcess>
#include <QStandardPaths>
#include <csignal>
#include <sys/prctl.h>

namespace testing {

// An X server of our own (Xvfb) on a display number it picks itself, so windows, key grabs and
// screenshots never touch the desktop the tests run on. Dies with the test, even one that aborts.
class PrivateXServer
{
public:
    PrivateXServer()
    {
        const QString program = QStandardPaths::findExecutable(QStringLiteral("Xvfb"));
        if (program.isEmpty())
            return;
        m_xvfb.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        m_xvfb.setStandardErrorFile(QProcess::nullDevice());
        // -displayfd: the server writes the display number it chose to us.
        m_xvfb.start(program,
                     {QStringLiteral("-displayfd"), QStringLiteral("1"),
                      QStringLiteral("-nolisten"), QStringLiteral("tcp"), QStringLiteral("-screen"),
                      QStringLiteral("0"), QStringLiteral("1024x768x24")});
        while (m_xvfb.waitForStarted() && !m_xvfb.canReadLine() && m_xvfb.waitForReadyRead(10000)) {
        }
        if (const QByteArray number = m_xvfb.readLine().trimmed(); !number.isEmpty())
            m_display = ":" + number;
    }
    ~PrivateXServer()
    {
        m_xvfb.terminate();
        m_xvfb.waitForFinished();
    }

    // Empty when Xvfb is missing or did not start.
    QByteArray display() const { return m_display; }

private:
    QProcess m_xvfb;
    QByteArray m_display;
};

} // namespace testing
