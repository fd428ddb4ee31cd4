#include "settings/MireoConfig.h"

#include "settings/BuildConfig.h"

#include <QtGlobal>

namespace MireoConfig {

namespace {

// A build whose endpoint is not a URL is broken: stop at first use rather than guess.
QUrl endpoint(const char *builtIn, const char *overrideVariable)
{
    QString text = QString::fromUtf8(builtIn);
    if (MIREO_ALLOW_ENDPOINT_OVERRIDE && qEnvironmentVariableIsSet(overrideVariable))
        text = qEnvironmentVariable(overrideVariable);
    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid() || url.scheme().isEmpty() || url.host().isEmpty())
        qFatal("%s is not a URL", overrideVariable);
    return url;
}

} // namespace

const QUrl &siteURL()
{
    static const QUrl url = endpoint(MIREO_BUILD_SITE_URL, "MIREO_SITE_URL");
    return url;
}

const QUrl &supabaseURL()
{
    static const QUrl url = endpoint(MIREO_BUILD_SUPABASE_URL, "MIREO_SUPABASE_URL");
    return url;
}

QByteArray supabaseAnonKey()
{
    return QByteArrayLiteral(MIREO_BUILD_SUPABASE_ANON_KEY);
}

QString keychainService()
{
    return QStringLiteral(MIREO_BUILD_KEYCHAIN_SERVICE);
}

std::chrono::milliseconds accountPollInterval()
{
    constexpr std::chrono::milliseconds minute{60'000};
    if (!MIREO_ALLOW_ENDPOINT_OVERRIDE)
        return minute;
    bool ok = false;
    const int shortened = qEnvironmentVariableIntValue("MIREO_POLL_INTERVAL_MS", &ok);
    return ok && shortened > 0 ? std::chrono::milliseconds(shortened) : minute;
}

} // namespace MireoConfig
