#include "settings/AppSettings.h"

#include "settings/Defaults.h"
#include "settings/SettingsKeys.h"

namespace {
const QString metricKey = settings_keys::menuMetric;
const QString languageKey = settings_keys::language;
const QString legacyPersonalKey = settings_keys::legacyPersonalTitle;
} // namespace

AppSettings::AppSettings(Defaults &defaults, QObject *parent)
    : QObject(parent), m_defaults(defaults), m_menuMetric(storedMetric()),
      m_language(storedLanguage())
{
}

QString AppSettings::storedMetric() const
{
    if (const auto stored = m_defaults.string(metricKey))
        return *stored;
    return m_defaults.boolean(legacyPersonalKey).value_or(false) ? QStringLiteral("pct")
                                                                 : QStringLiteral("book");
}

QString AppSettings::storedLanguage() const
{
    return m_defaults.string(languageKey).value_or(QStringLiteral("system"));
}

void AppSettings::reload()
{
    if (const QString metric = storedMetric(); metric != m_menuMetric) {
        m_menuMetric = metric;
        Q_EMIT menuMetricChanged();
    }
    if (const QString language = storedLanguage(); language != m_language) {
        m_language = language;
        Q_EMIT languageChanged();
    }
}

AppSettings &AppSettings::shared()
{
    static AppSettings settings(Defaults::shared());
    return settings;
}

void AppSettings::setMenuMetric(const QString &metric)
{
    m_menuMetric = metric;
    // Stored before observers hear of it, so a reader of the store sees the new value.
    m_defaults.setString(metricKey, metric);
    Q_EMIT menuMetricChanged();
}

void AppSettings::setLanguage(const QString &language)
{
    m_language = language;
    // Stored before observers hear of it, so a reader of the store sees the new value.
    m_defaults.setString(languageKey, language);
    Q_EMIT languageChanged();
}
