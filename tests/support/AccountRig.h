#pragma once

#include "account/AuthStore.h"
#include "net/HttpClient.h"
#include "settings/MireoConfig.h"
#include "support/AccountFakes.h"
#include "support/StandinFixture.h"
#include "support/TestSupport.h"

#include <QSignalSpy>
#include <memory>

namespace testing {

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
