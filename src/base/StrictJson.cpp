#include "base/StrictJson.h"

#include <cmath>

namespace base {

std::optional<Json> parseObject(const QByteArray &body)
{
    Json document = Json::parse(body.cbegin(), body.cend(), nullptr, /*allow_exceptions=*/false);
    if (!document.is_object())
        return std::nullopt;
    return document;
}

const Json *StrictReader::present(const Json &object, const char *key)
{
    const auto found = object.find(key);
    if (found == object.end() || found->is_null())
        return nullptr;
    return &*found;
}

std::optional<double> StrictReader::number(const Json &value)
{
    if (!value.is_number() || !std::isfinite(value.get<double>()))
        return fail<double>();
    return value.get<double>();
}

const Json *StrictReader::object(const Json &value)
{
    if (!value.is_object()) {
        m_failed = true;
        return nullptr;
    }
    return &value;
}

std::optional<double> StrictReader::number(const Json &object, const char *key)
{
    const Json *value = present(object, key);
    return value ? number(*value) : std::nullopt;
}

std::optional<qint64> StrictReader::integer(const Json &object, const char *key)
{
    const Json *value = present(object, key);
    if (!value)
        return std::nullopt;
    if (value->is_number_integer() && !value->is_number_unsigned())
        return value->get<qint64>();
    if (value->is_number_unsigned()) {
        const auto unsignedValue = value->get<std::uint64_t>();
        if (unsignedValue > std::uint64_t(std::numeric_limits<qint64>::max()))
            return fail<qint64>();
        return qint64(unsignedValue);
    }
    // 2.0 or 1e1 name an integer; 2.5 or 1e19 do not fit one.
    if (value->is_number_float()) {
        const double number = value->get<double>();
        if (std::trunc(number) == number && number >= -0x1p63 && number < 0x1p63)
            return qint64(number);
    }
    return fail<qint64>();
}

std::optional<bool> StrictReader::boolean(const Json &object, const char *key)
{
    const Json *value = present(object, key);
    if (!value)
        return std::nullopt;
    if (!value->is_boolean())
        return fail<bool>();
    return value->get<bool>();
}

std::optional<QString> StrictReader::string(const Json &object, const char *key)
{
    const Json *value = present(object, key);
    if (!value)
        return std::nullopt;
    if (!value->is_string())
        return fail<QString>();
    return QString::fromStdString(value->get_ref<const std::string &>());
}

const Json *StrictReader::object(const Json &object, const char *key)
{
    const Json *value = present(object, key);
    return value ? this->object(*value) : nullptr;
}

} // namespace base
