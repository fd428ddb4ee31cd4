#pragma once

#include "account/AuthStore.h"
#include "platform/linux/KeychainSecretStore.h"
#include "settings/MireoConfig.h"
#include "support/ProcessRun.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QUrl>

namespace testing {

inline const QString refreshTokenKey = QString::fromLatin1(AuthStore::refreshTokenKey);

// The binary's keychain, opened afresh: a store that lives on remembers what it read.
inline KeychainSecretStore appKeychain()
{
    return KeychainSecretStore(MireoConfig::keychainService());
}

// The real mireo-pulse pointed at a service, with a settings folder of its own and English texts.
class PulseBinary
{
public:
    explicit PulseBinary(QProcessEnvironment base = QProcessEnvironment::systemEnvironment())
        : m_base(std::move(base))
    {
    }

    QProcessEnvironment environment(const QUrl &service) const
    {
        QProcessEnvironment env = m_base;
        env.insert(QStringLiteral("MIREO_SITE_URL"), service.toString());
        env.insert(QStringLiteral("MIREO_SUPABASE_URL"), service.toString());
        // Everything it might write lands in one folder a test can search.
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_config.path());
        env.insert(QStringLiteral("XDG_CACHE_HOME"), m_config.filePath(QStringLiteral("cache")));
        env.insert(QStringLiteral("XDG_DATA_HOME"), m_config.filePath(QStringLiteral("data")));
        env.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
        env.insert(QStringLiteral("LANG"), QStringLiteral("C"));
        env.remove(QStringLiteral("LANGUAGE"));
        return env;
    }

    QString folder() const { return m_config.path(); }
    QString settingsPath() const
    {
        return m_config.filePath(QLatin1StringView(app_names::settingsFile));
    }

    ProcessRun run(const QUrl &service, const QStringList &arguments) const
    {
        return runToEnd(QStringLiteral(MIREO_PULSE_BINARY), arguments, environment(service));
    }

    // A long-running process (--follow), left to the caller to stop.
    void start(QProcess &process, const QUrl &service, const QStringList &arguments) const
    {
        process.setProcessEnvironment(environment(service));
        process.start(QStringLiteral(MIREO_PULSE_BINARY), arguments);
    }

    // --status-json, parsed; an empty object when the run failed.
    QJsonObject status(const QUrl &service) const
    {
        const ProcessRun run = this->run(service, {QStringLiteral("--status-json")});
        return run.exitCode == 0 ? QJsonDocument::fromJson(run.out).object() : QJsonObject();
    }

private:
    QProcessEnvironment m_base;
    QTemporaryDir m_config;
};

} // namespace testing
