#include "buswrappers/SlowRelease.h"

#include <chrono>
#include <system_error>
#include <utility>

namespace com::tallowcrest::routing
{

void SlowRelease::release(std::shared_ptr<void> object)
{
    std::erase_if(m_releases, [](const std::future<void>& release) {
        return release.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    });
    try
    {
        m_releases.push_back(
            std::async(std::launch::async, [object = std::move(object)]() mutable { object.reset(); }));
    }
    catch (const std::system_error&)
    {
        // No thread: the object has gone with the function that was to run there.
    }
}

} // namespace com::tallowcrest::routing
