#pragma once

#include <future>
#include <memory>
#include <vector>

namespace com::tallowcrest::routing
{

/// Lets go of objects whose end may take long, each on a thread of its own: a writer waits up to a second for readers
/// that have not confirmed everything yet, and a router that has died confirms nothing more. Owned by one thread; its
/// end waits for all of theirs. Where no thread is to be had, the object goes at once.
class SlowRelease
{
public:
    void release(std::shared_ptr<void> object);

private:
    std::vector<std::future<void>> m_releases;
};

} // namespace com::tallowcrest::routing
