#pragma once

#include <QString>
#include <optional>

// One secret text per key in the platform's keychain. Every failure is silent: a failed read is
// a missing secret and a failed write is lost.
class SecretStore
{
public:
    virtual ~SecretStore() = default;
    virtual void replace(const QString &key, const QString &value) = 0;
    virtual std::optional<QString> read(const QString &key) = 0;
    virtual void remove(const QString &key) = 0;
};
