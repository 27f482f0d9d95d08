#include "runtime/apartment/DoItEvent.h"

#include "runtime/util/Log.h"

#include <exception>

namespace com::tallowcrest::apartment
{

void runCall(const std::function<void()>& call) noexcept
{
    try
    {
        call();
    }
    catch (const std::exception& error)
    {
        REPORT_ERROR_F(util::bridgeLogger(), "Apartment event failed, %s", error.what());
    }
    catch (...)
    {
        REPORT_ERROR_F(util::bridgeLogger(), "Apartment event failed, unknown exception");
    }
}

void runEvent(std::unique_ptr<DoItEvent> event) noexcept
{
    runCall([&event] { event->doIt(); });
}

} // namespace com::tallowcrest::apartment
