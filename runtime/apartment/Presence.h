#pragma once

#include <memory>

namespace com::tallowcrest::apartment
{

/// Tells events that are still queued whether the object that they are for is there. A member of that object; events
/// hold `weak()`, which finds nothing once the object has gone. What it finds is not kept alive by that, so only the
/// thread on which the object ends may look: its apartment's. `weak` may be called by any thread.
template <typename T>
class Presence
{
public:
    explicit Presence(T& object) : m_object(&object, [](T*) {}) {}
    Presence(const Presence&) = delete;
    Presence& operator=(const Presence&) = delete;

    std::weak_ptr<T> weak() const { return m_object; }

private:
    const std::shared_ptr<T> m_object; ///< owns nothing
};

} // namespace com::tallowcrest::apartment
