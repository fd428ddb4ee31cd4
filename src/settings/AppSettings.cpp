#include "settings/AppSettings.h"

#include "settings/Defaults.h"

namespace {
const QString metricKey = QStringLiteral("menu.metric");
const QString languageKey = QStringLiteral("app.language");
// Earlier releases had only a switch between the public and the personal title.
const QString legacyPersonalKey = QStringLiteral("menu.personal");
} // namespace

AppSettings::AppSettings(Defaults &defaults, QObject *parent)
    : QObject(parent), m_defaults(defaults)
{
    if (const auto stored = defaults.string(metricKey))
        m_menuMetric = *stored;
    else
        m_menuMetric = defaults.boolean(legacyPersonalKey).value_or(false) ? QStringLiteral("pct")
                                                                           : QStringLiteral("book");
    m_language = defaults.string(languageKey).value_or(QStringLiteral("system"));
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
