#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QSet>
#include <QString>

namespace standin {

// Reads a control body strictly: a typo in a key or a wrong type is an error, not a default. The
// first error wins; the getters still return their fallback afterwards, so a route reads every
// key and checks error() once.
class ControlReader
{
public:
    ControlReader(const QByteArray &body, const QSet<QString> &known);

    bool has(const QString &key) const { return m_object.contains(key); }
    QJsonValue value(const QString &key) const { return m_object.value(key); }
    const QString &error() const { return m_error; }

    qint64 integer(const QString &key, qint64 fallback, qint64 min, qint64 max);
    QString string(const QString &key, const QString &fallback = {});
    bool boolean(const QString &key, bool fallback);
    void fail(const QString &message);

private:
    QJsonObject m_object;
    QString m_error;
};

} // namespace standin
