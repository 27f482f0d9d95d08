#pragma once

#include "dds/core/Exception.hpp"

#include <cstdint>
#include <memory>
#include <utility>

namespace dds::core
{

/// The value of a reference that names nothing.
struct NullType
{};
inline constexpr NullType null{};

/// A shared handle: copies name the same entity, which lives until the last of them goes. Copying and dropping handles
/// is thread-safe; one handle object belongs to one thread.
template <typename Delegate>
class Reference
{
public:
    using DelegateType = Delegate;

    Reference(NullType) {}
    explicit Reference(std::shared_ptr<Delegate> delegate) : m_delegate(std::move(delegate)) {}

    bool is_nil() const { return m_delegate == nullptr; }
    bool operator==(const Reference& other) const { return m_delegate == other.m_delegate; }

    /// What the handle shares; for the other classes of this interface. Throws NullReferenceError on nil.
    const std::shared_ptr<Delegate>& delegate() const
    {
        if (m_delegate == nullptr)
        {
            throw NullReferenceError("the DDS reference is nil");
        }
        return m_delegate;
    }

private:
    std::shared_ptr<Delegate> m_delegate;
};

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

/// Names one instance of a topic, or one entity, within this process. Nil names none.
class InstanceHandle
{
public:
    constexpr InstanceHandle() = default;
    constexpr explicit InstanceHandle(std::uint64_t value) : m_value(value) {}

    constexpr bool is_nil() const { return m_value == 0; }
    constexpr std::uint64_t value() const { return m_value; }
    constexpr bool operator==(const InstanceHandle&) const = default;

private:
    std::uint64_t m_value = 0;
};

} // namespace dds::core
