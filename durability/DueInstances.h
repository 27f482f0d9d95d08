#pragma once

#include <cstddef>
#include <string>
#include <unordered_set>
#include <vector>

namespace com::tallowcrest::durability
{

/// Instances that wait for something to be done with them, each once, in the order in which they became due. Holds no
/// more than there are instances, however long nothing can be done. Not thread-safe.
class DueInstances
{
public:
    bool empty() const { return m_order.empty(); }
    /// Nothing when the instance is due already.
    void add(const std::string& instance)
    {
        const auto [place, isNew] = m_instances.insert(instance);
        if (isNew)
        {
            m_order.push_back(&*place);
        }
    }
    /// Calls `handle(instance)` for one after the other until it gives false. Those for which it gave true are done.
    template <typename Handle>
    void handleAll(Handle&& handle)
    {
        std::size_t done = 0;
        while (done < m_order.size() && handle(*m_order[done]))
        {
            ++done;
        }
        for (std::size_t i = 0; i < done; ++i)
        {
            m_instances.erase(m_instances.find(*m_order[i]));
        }
        m_order.erase(m_order.begin(), m_order.begin() + static_cast<std::ptrdiff_t>(done));
    }
    void clear()
    {
        m_order.clear();
        m_instances.clear();
    }

private:
    std::unordered_set<std::string> m_instances;
    std::vector<const std::string*> m_order; ///< into the set, whose elements stay where they are
};

} // namespace com::tallowcrest::durability
