#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <nlohmann/json.hpp>
#include <optional>

namespace base {

// nlohmann's reader keeps what a strict decoder needs and Qt's drops: integers apart from
// fractions, and the sign of -0.0.
using Json = nlohmann::json;

// A body that is not JSON or whose top level is not an object has nothing to decode.
std::optional<Json> parseObject(const QByteArray &body);

// Typed reading with the service's strict rules. A missing key or null is an absent value;
// a present value of the wrong type (a string for a number, a fraction for an integer, a
// number for a boolean) marks the reader failed, and the caller drops the whole body.
class StrictReader
{
public:
    bool failed() const { return m_failed; }
    // For rules the reader cannot see, such as a required member that is missing.
    void fail() { m_failed = true; }

    std::optional<double> number(const Json &object, const char *key);
    std::optional<qint64> integer(const Json &object, const char *key);
    std::optional<bool> boolean(const Json &object, const char *key);
    std::optional<QString> string(const Json &object, const char *key);
    // Absent (nullptr) or the nested object.
    const Json *object(const Json &object, const char *key);

    // Array elements are never optional: a null element breaks the type like any other.
    std::optional<double> number(const Json &value);
    const Json *object(const Json &value);

    // Reads an array field element by element; `element` returns std::nullopt for a bad one.
    template <typename Element>
    auto array(const Json &object, const char *key, Element element) -> std::optional<
        QList<typename decltype(element(std::declval<const Json &>()))::value_type>>
    {
        using T = typename decltype(element(std::declval<const Json &>()))::value_type;
        const Json *value = present(object, key);
        if (!value)
            return std::nullopt;
        if (!value->is_array())
            return fail<QList<T>>();
        QList<T> items;
        items.reserve(qsizetype(value->size()));
        for (const Json &item : *value) {
            std::optional<T> decoded = element(item);
            if (!decoded)
                return fail<QList<T>>();
            items.append(std::move(*decoded));
        }
        return items;
    }

private:
    static const Json *present(const Json &object, const char *key);
    template <typename T> std::optional<T> fail()
    {
        m_failed = true;
        return std::nullopt;
    }

    bool m_failed = false;
};

} // namespace base
