#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QSettings>
#include <QString>
#include <optional>

// The user-defaults store: typed values under dotted keys, persisted by QSettings
// (organisation "mireo", application "pulse"). An absent optional is a removed key.
class Defaults
{
public:
    // The user's store: $XDG_CONFIG_HOME/mireo/pulse.conf on Linux.
    Defaults();
    // A store in one file, for tests and tools.
    explicit Defaults(const QString &iniPath);

    // The process-wide user store.
    static Defaults &shared();

    std::optional<QString> string(const QString &key) const;
    std::optional<bool> boolean(const QString &key) const;
    std::optional<double> number(const QString &key) const;
    std::optional<qint64> integer(const QString &key) const;
    std::optional<QDateTime> date(const QString &key) const;
    std::optional<QByteArray> data(const QString &key) const;

    void setString(const QString &key, const QString &value);
    void setBoolean(const QString &key, bool value);
    void setInteger(const QString &key, qint64 value);
    void setNumber(const QString &key, std::optional<double> value);
    void setDate(const QString &key, const std::optional<QDateTime> &value);
    void setData(const QString &key, const std::optional<QByteArray> &value);
    void remove(const QString &key);

    // Pushes pending writes to disk, for values that must survive a crash.
    void sync();
    QString fileName() const { return m_settings.fileName(); }

private:
    QSettings m_settings;
};
