#include "runtime/apartment/DoItEvent.h"

#include "runtime/util/Log.h"

#include <exception>

namespace com::tallowcrest::apartment
{

namespace
{

template <typename Call>
void runLoggingFailure(const Call& call) noexcept
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

} // namespace

void runCall(const std::function<void()>& call) noexcept
{
    runLoggingFailure(call);
}

void runEvent(DoItEvent& event) noexcept
{
    runLoggingFailure([&event] { event.doIt(); });
}

void runAfterRound(DoItEvent& event) noexcept
{
    runLoggingFailure([&event] { event.afterRound(); });
}

} // namespace com::tallowcrest::apartment
