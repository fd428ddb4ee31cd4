#pragma once

#include "account/AuthStore.h"
#include "account/Browser.h"
#include "account/SecretStore.h"
#include "net/HttpClient.h"
#include "settings/MireoConfig.h"
#include "support/StandinFixture.h"
#include "support/TestSupport.h"

#include <QCoroTimer>
#include <QHash>
#include <QList>
#include <QSignalSpy>
#include <QUrl>
#include <memory>

namespace testing {

// A keychain in memory; `answering = false` behaves like a locked one, `heldElsewhere` like another
// process holding it: a hold asked for meanwhile waits until it is released.
class InMemorySecretStore final : public SecretStore
{
public:
    bool heldElsewhere = false;
    bool answering = true;
    int holdsAsked = 0;
    int reads = 0;
    QHash<QString, QString> items;

    QCoro::Task<> replace(QString key, QString value) override
    {
        items.insert(key, value);
        co_return;
    }
    QCoro::Task<Read> read(QString key) override
    {
        ++reads;
        while (!answering)
            co_await QCoro::sleepFor(std::chrono::milliseconds(5));
        co_return Read{true, items.contains(key) ? std::optional(items.value(key)) : std::nullopt};
    }
    QCoro::Task<> remove(QString key) override
    {
        items.remove(key);
        co_return;
    }
    QCoro::Task<std::unique_ptr<Hold>> hold() override
    {
        struct Held final : Hold
        {
            bool &held;
            explicit Held(bool &held) : held(held) { held = true; }
            ~Held() override { held = false; }
        };
        ++holdsAsked;
        while (heldElsewhere || m_held)
            co_await QCoro::sleepFor(std::chrono::milliseconds(5));
        co_return std::make_unique<Held>(m_held);
    }

private:
    bool m_held = false;
};

// Remembers the URLs it was asked to open.
class RecordingBrowser final : public Browser
{
public:
    QList<QUrl> opened;
    void open(const QUrl &url) override { opened.append(url); }
};

// One account store with its keychain, browser, clock and settings, against one stand-in.
struct AccountRig
{
    StandinFixture standin;
    net::HttpClient http{QByteArray(MireoConfig::userAgent)};
    TempDefaults defaults;
    ManualClock clock;
    InMemorySecretStore secrets;
    RecordingBrowser browser;
    std::unique_ptr<AuthStore> store;

    AccountRig() { http.setTimeoutLimit(shortTimeout); }
    AuthStore &start()
    {
        store = std::make_unique<AuthStore>(
            http, *defaults, clock, secrets, browser,
            AuthStore::Endpoints{standin.url(), standin.url(), MireoConfig::supabaseAnonKey()});
        return *store;
    }
    // Starts the store and lets its launch restore finish.
    AuthStore &startAndRestore()
    {
        QSignalSpy restored(&start(), &AuthStore::restoreFinished);
        if (restored.isEmpty() && !restored.wait(5000))
            qFatal("restore did not finish");
        return *store;
    }
};

} // namespace testing
