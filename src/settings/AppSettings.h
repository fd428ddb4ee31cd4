#pragma once

#include <QObject>
#include <QString>

class Defaults;

// The user's two persisted choices: which number the title shows and the interface language.
class AppSettings : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString menuMetric READ menuMetric WRITE setMenuMetric NOTIFY menuMetricChanged)
    Q_PROPERTY(QString language READ language WRITE setLanguage NOTIFY languageChanged)

public:
    explicit AppSettings(Defaults &defaults, QObject *parent = nullptr);

    // The one instance, over the user's store.
    static AppSettings &shared();

    QString menuMetric() const { return m_menuMetric; }
    QString language() const { return m_language; }
    // Any text is accepted and stored as it is; readers treat unknown values as the default.
    void setMenuMetric(const QString &metric);
    void setLanguage(const QString &language);
    // Takes up what another process (mireo-pulse --set-metric) stored since.
    void reload();

Q_SIGNALS:
    void menuMetricChanged();
    void languageChanged();

private:
    QString storedMetric() const;
    QString storedLanguage() const;

    Defaults &m_defaults;
    QString m_menuMetric;
    QString m_language;
};
