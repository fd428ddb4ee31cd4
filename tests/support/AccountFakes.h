#pragma once

#include "account/Browser.h"
#include "account/SecretStore.h"

#include <QHash>
#include <QList>
#include <QUrl>

namespace testing {

// A keychain in memory; `available = false` behaves like a desktop without a keychain service:
// reads find nothing and writes are lost. `answering = false` is a keychain that says nothing
// (locked, or not up yet): reads come back unanswered.
class InMemorySecretStore final : public SecretStore
{
public:
    bool available = true;
    bool answering = true;
    int reads = 0;
    QHash<QString, QString> items;

    QCoro::Task<> replace(QString key, QString value) override
    {
        if (available)
            items.insert(key, value);
        co_return;
    }
    QCoro::Task<Read> read(QString key) override
    {
        ++reads;
        if (!answering)
            co_return Read{};
        const auto found = items.constFind(key);
        if (!available || found == items.cend())
            co_return Read{true, std::nullopt};
        co_return Read{true, *found};
    }
    QCoro::Task<> remove(QString key) override
    {
        items.remove(key);
        co_return;
    }
};

// Remembers the URLs it was asked to open.
class RecordingBrowser final : public Browser
{
public:
    QList<QUrl> opened;
    void open(const QUrl &url) override { opened.append(url); }
};

} // namespace testing
