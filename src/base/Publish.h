#pragma once

#include <bit>
#include <cstdint>
#include <optional>

class QMetaMethod;
class QObject;

namespace base {

namespace detail {
template <typename T> bool same(const T &a, const T &b)
{
    return a == b;
}
// Bitwise, so that -0.0 replacing 0.0 counts as a change and is published.
inline bool same(const std::optional<double> &a, const std::optional<double> &b)
{
    return a.has_value() == b.has_value() &&
           (!a || std::bit_cast<std::uint64_t>(*a) == std::bit_cast<std::uint64_t>(*b));
}
} // namespace detail

// Sets a store's field and emits its change signal when the value really changed.
template <typename Owner, typename T, typename V>
void publish(Owner *owner, T &field, V &&value, void (Owner::*changed)())
{
    if (detail::same(field, T(value)))
        return;
    field = std::forward<V>(value);
    (owner->*changed)();
}

// Connects every field's change signal of a store (each "...Changed" it declares) to `slot`,
// so a field added later cannot be forgotten by whoever follows the store.
void connectFieldChanges(const QObject &store, const QObject *receiver, const QMetaMethod &slot);

} // namespace base
