#pragma once

#include <tuple>

namespace dds::core
{

/// The QoS of one kind of entity: one value of each policy that the kind has. `Self` is the QoS class itself.
template <typename Self, typename... Policies>
class EntityQos
{
public:
    template <typename Policy>
    Self& policy(const Policy& value)
    {
        std::get<Policy>(m_policies) = value;
        return static_cast<Self&>(*this);
    }
    template <typename Policy>
    const Policy& policy() const
    {
        return std::get<Policy>(m_policies);
    }
    template <typename Policy>
    Self& operator<<(const Policy& value)
    {
        return policy(value);
    }

    const std::tuple<Policies...>& policies() const { return m_policies; }
    bool operator==(const EntityQos&) const = default;

private:
    std::tuple<Policies...> m_policies;
};

} // namespace dds::core
