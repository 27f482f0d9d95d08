#include "runtime/apartment/DoItEvent.h"

#include "runtime/util/Log.h"

#include <exception>

namespace com::tallowcrest::apartment
{

void runEvent(std::unique_ptr<DoItEvent> event) noexcept
{
    try
    {
        event->doIt();
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

} // namespace com::tallowcrest::apartment
