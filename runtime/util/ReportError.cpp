#include "runtime/util/ReportError.h"

#include <exception>

namespace com::tallowcrest::util
{

namespace
{

template <typename Logger>
void reportTo(Logger&& logger, const char* what, const char* why) noexcept
{
    try
    {
        LOG_ERROR_F(logger(), "%s%s", what, why);
    }
    catch (const std::exception& error)
    {
        // The logger itself has failed; standard error is all that is left, and it needs no memory.
        static_cast<void>(std::fprintf(stderr, "%s%s (not logged: %s)\n", what, why, error.what()));
    }
}

} // namespace

void reportError(const log4cxx::LoggerPtr& logger, const char* what, const char* why) noexcept
{
    reportTo([&logger]() -> const log4cxx::LoggerPtr& { return logger; }, what, why);
}

void reportError(const char* what, const char* why) noexcept
{
    // Looked up by name, which may need memory too.
    reportTo([] { return log4cxx::Logger::getLogger("KORABRIDGE"); }, what, why);
}

} // namespace com::tallowcrest::util
