#pragma once

#include "dds/core/Reference.hpp"

#include <memory>

namespace dds::core
{

/// Knows an entity without keeping it alive. `Handle` is one of the reference classes.
template <typename Handle>
class WeakReference
{
public:
    WeakReference() = default;
    explicit WeakReference(const Handle& handle) : m_delegate(handle.delegate()) {}

    /// The entity, or nil when it is gone.
    Handle lock() const { return Handle(m_delegate.lock()); }

private:
    std::weak_ptr<typename Handle::DelegateType> m_delegate;
};

} // namespace dds::core
