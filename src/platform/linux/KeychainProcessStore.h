#pragma once

#include "account/SecretStore.h"

#include <QByteArrayList>
#include <QHash>
#include <QObject>

class QProcess;

// Secrets in the desktop's keychain, reached through the keychain helper (mireo-pulse-keychain)
// started for each piece of work. The keychain's libraries (libsecret and GLib's GIO, with their
// threads) then never stay in the long-running app. Each key is read once, waiting for the
// helper, and mirrored in memory; writes go out in order, one helper at a time, in the
// background. Pending writes are waited for on destruction, within a bound.
class KeychainProcessStore final : public QObject, public SecretStore
{
    Q_OBJECT
public:
    KeychainProcessStore(QString helperProgram, QString service, QObject *parent = nullptr);
    ~KeychainProcessStore() override;

    // The helper installed with this program: next to it in a build, in libexec once installed.
    static QString installedHelper();

    void replace(const QString &key, const QString &value) override;
    std::optional<QString> read(const QString &key) override;
    // Reads `key` now so later reads are answered from memory.
    void preload(const QString &key) { read(key); }
    void remove(const QString &key) override;

    // Waits, within a bound, until every write and delete has reached the keychain.
    void flush();

private:
    void send(QByteArray request);
    void startNextWriter();

    QString m_program;
    QString m_service;
    QHash<QString, std::optional<QString>> m_mirror;
    QByteArrayList m_unsent;
    QProcess *m_writer = nullptr;
};
