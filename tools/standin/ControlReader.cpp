#include "ControlReader.h"

#include <QJsonDocument>
#include <cmath>

using namespace Qt::StringLiterals;

namespace standin {

ControlReader::ControlReader(const QByteArray &body, const QSet<QString> &known)
{
    if (body.trimmed().isEmpty())
        return; // an empty body means all defaults
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        fail(u"body is not a JSON object"_s);
        return;
    }
    m_object = document.object();
    for (const QString &key : m_object.keys()) {
        if (!known.contains(key))
            fail(u"unknown key: "_s + key);
    }
}

qint64 ControlReader::integer(const QString &key, qint64 fallback, qint64 min, qint64 max)
{
    if (!has(key))
        return fallback;
    const QJsonValue value = m_object.value(key);
    const double number = value.toDouble();
    if (!value.isDouble() || std::floor(number) != number || number < double(min) ||
        number > double(max)) {
        fail(u"%1 must be an integer from %2 to %3"_s.arg(key).arg(min).arg(max));
        return fallback;
    }
    return qint64(number);
}

QString ControlReader::string(const QString &key, const QString &fallback)
{
    if (!has(key))
        return fallback;
    if (!m_object.value(key).isString())
        fail(key + u" must be a string"_s);
    return m_object.value(key).toString();
}

bool ControlReader::boolean(const QString &key, bool fallback)
{
    if (!has(key))
        return fallback;
    if (!m_object.value(key).isBool())
        fail(key + u" must be true or false"_s);
    return m_object.value(key).toBool();
}

void ControlReader::fail(const QString &message)
{
    if (m_error.isEmpty())
        m_error = message;
}

} // namespace standin
