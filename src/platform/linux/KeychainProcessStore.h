#pragma once

#include "account/SecretStore.h"

#include <QByteArrayList>
#include <QObject>
#include <chrono>

class QProcess;

// Secrets in the desktop's keychain, reached through the keychain helper (mireo-pulse-keychain)
// started for each piece of work. The keychain's libraries (libsecret and GLib's GIO, with their
// threads) then never stay in the long-running app, and a keychain that waits for its password
// never stalls the event loop. Nothing is remembered: every read asks the keychain, which other
// processes of the user share. Writes go out in order, one helper at a time; pending writes are
// waited for on destruction, within a bound. The hold is a file lock in the user's runtime
// folder, shared by every process of the user that uses this keychain service.
class KeychainProcessStore final : public QObject, public SecretStore
{
    Q_OBJECT
public:
    // A locked keychain may ask the user to unlock it; give them time, but never wait for good.
    static constexpr std::chrono::milliseconds defaultReadLimit{25'000};
    // Long enough for someone else's renewal: a keychain read, a request and a write.
    static constexpr std::chrono::milliseconds defaultHoldPatience{45'000};

    KeychainProcessStore(QString helperProgram, QString service, QObject *parent = nullptr);
    ~KeychainProcessStore() override;

    // The helper installed with this program: next to it in a build, in libexec once installed.
    static QString installedHelper();

    QCoro::Task<Read> read(QString key) override;
    QCoro::Task<> replace(QString key, QString value) override;
    QCoro::Task<> remove(QString key) override;
    QCoro::Task<std::unique_ptr<Hold>> hold() override;

    void setReadLimit(std::chrono::milliseconds limit) { m_readLimit = limit; }
    void setHoldPatience(std::chrono::milliseconds patience) { m_holdPatience = patience; }

    // Waits, within a bound, until every write and delete has reached the keychain.
    void flush();

Q_SIGNALS:
    // A helper carrying writes has finished; `done` counts every write finished so far.
    void writesFinished(quint64 done);

private:
    QCoro::Task<> send(QByteArray request);
    // Finishes once every write asked for up to `ticket` has finished.
    QCoro::Task<> writesSettled(quint64 ticket);
    void startNextWriter();

    QString m_program;
    QString m_service;
    std::chrono::milliseconds m_readLimit = defaultReadLimit;
    std::chrono::milliseconds m_holdPatience = defaultHoldPatience;
    QByteArrayList m_unsent;
    QProcess *m_writer = nullptr;
    quint64 m_asked = 0;    // writes asked for
    quint64 m_carried = 0;  // writes handed to a helper, finished or not
    quint64 m_finished = 0; // writes whose helper has finished
    int m_heldLock = -1;    // the hold's lock file while this process holds it
};
