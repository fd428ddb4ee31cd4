#pragma once

#include "account/Browser.h"
#include "account/SecretStore.h"

#include <QHash>
#include <QList>
#include <QUrl>

namespace testing {

// A keychain in memory; `available = false` behaves like a desktop without a keychain service:
// reads find nothing and writes are lost.
class InMemorySecretStore final : public SecretStore
{
public:
    bool available = true;
    QHash<QString, QString> items;

    void replace(const QString &key, const QString &value) override
    {
        if (available)
            items.insert(key, value);
    }
    std::optional<QString> read(const QString &key) override
    {
        const auto found = items.constFind(key);
        if (!available || found == items.cend())
            return std::nullopt;
        return *found;
    }
    void remove(const QString &key) override { items.remove(key); }
};

// Remembers the URLs it was asked to open.
class RecordingBrowser final : public Browser
{
public:
    QList<QUrl> opened;
    void open(const QUrl &url) override { opened.append(url); }
};

} // namespace testing
