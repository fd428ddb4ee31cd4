#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <optional>

// Secrets in the desktop's keychain (the Secret Service) through QtKeychain, never its plaintext
// fallback, with plain calls that wait. Each key is read once and mirrored in memory, and writes
// go out in order in the background; pending writes are waited for on destruction, so a token
// rotated just before exit is not lost. Waiting runs a local event loop, so it belongs where
// nothing else is scheduled: the keychain helper (mireo-pulse-keychain), which the app uses
// through KeychainProcessStore, and tests.
class KeychainSecretStore final : public QObject
{
    Q_OBJECT
public:
    explicit KeychainSecretStore(QString service, QObject *parent = nullptr);
    ~KeychainSecretStore();

    void replace(const QString &key, const QString &value);
    std::optional<QString> read(const QString &key);
    void remove(const QString &key);
    // Whether the keychain gave a clear answer for `key` (a secret or none), not silence.
    bool hasAnswered(const QString &key) const { return m_mirror.contains(key); }

    // Waits, within a bound, until every write and delete has reached the keychain.
    void flush();

private:
    QString m_service;
    QHash<QString, std::optional<QString>> m_mirror;
    int m_pending = 0;
};
