#include "settings/Defaults.h"

#include "base/AppNames.h"
#include "base/FixedDecimal.h"

#include <cmath>

// Dotted keys are stored literally: QSettings would read '/' as a group separator, which
// none of our keys use, and a dot needs no escaping.

Defaults::Defaults()
    : m_settings(QString::fromLatin1(app_names::settingsOrganisation),
                 QString::fromLatin1(app_names::settingsApplication))
{
}

Defaults::Defaults(const QString &iniPath) : m_settings(iniPath, QSettings::IniFormat) {}

Defaults &Defaults::shared()
{
    static Defaults defaults;
    return defaults;
}

std::optional<QString> Defaults::string(const QString &key) const
{
    const QVariant value = m_settings.value(key);
    if (value.typeId() != QMetaType::QString)
        return std::nullopt;
    return value.toString();
}

std::optional<bool> Defaults::boolean(const QString &key) const
{
    const QVariant value = m_settings.value(key);
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    // The INI file keeps booleans as the words true and false.
    if (value.typeId() == QMetaType::QString) {
        if (value.toString() == QLatin1String("true"))
            return true;
        if (value.toString() == QLatin1String("false"))
            return false;
    }
    return std::nullopt;
}

std::optional<double> Defaults::number(const QString &key) const
{
    const QVariant value = m_settings.value(key);
    if (!value.isValid() || value.typeId() == QMetaType::Bool)
        return std::nullopt;
    bool ok = false;
    // Numbers come back from the INI file as text; QVariant reads it in the C locale.
    const double number = value.toDouble(&ok);
    if (!ok || !std::isfinite(number))
        return std::nullopt;
    return number;
}

std::optional<qint64> Defaults::integer(const QString &key) const
{
    const QVariant value = m_settings.value(key);
    if (!value.isValid() || value.typeId() == QMetaType::Bool)
        return std::nullopt;
    bool ok = false;
    const qint64 integer = value.toLongLong(&ok);
    if (!ok)
        return std::nullopt;
    return integer;
}

std::optional<QDateTime> Defaults::date(const QString &key) const
{
    const QVariant value = m_settings.value(key);
    if (value.typeId() != QMetaType::QDateTime || !value.toDateTime().isValid())
        return std::nullopt;
    return value.toDateTime();
}

std::optional<QByteArray> Defaults::data(const QString &key) const
{
    const QVariant value = m_settings.value(key);
    if (value.typeId() != QMetaType::QByteArray)
        return std::nullopt;
    return value.toByteArray();
}

void Defaults::setString(const QString &key, const QString &value)
{
    m_settings.setValue(key, value);
}

void Defaults::setBoolean(const QString &key, bool value)
{
    m_settings.setValue(key, value);
}

void Defaults::setInteger(const QString &key, qint64 value)
{
    m_settings.setValue(key, value);
}

void Defaults::setNumber(const QString &key, std::optional<double> value)
{
    // As text, because QSettings would write -0.0 as "0" and lose the sign.
    value ? m_settings.setValue(key, base::shortestDecimal(*value)) : m_settings.remove(key);
}

void Defaults::setDate(const QString &key, const std::optional<QDateTime> &value)
{
    value ? m_settings.setValue(key, *value) : m_settings.remove(key);
}

void Defaults::setData(const QString &key, const std::optional<QByteArray> &value)
{
    value ? m_settings.setValue(key, *value) : m_settings.remove(key);
}

void Defaults::remove(const QString &key)
{
    m_settings.remove(key);
}

void Defaults::sync()
{
    m_settings.sync();
}
