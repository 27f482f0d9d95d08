#include "koracommand/ReportError.h"

#include <exception>

void reportError(const log4cxx::LoggerPtr& logger, const char* what, const char* text) noexcept
{
    try
    {
        LOG_ERROR_F(logger, "%s: %s", what, text);
    }
    catch (const std::exception& error)
    {
        // The logger itself has failed; standard error is all that is left, and it needs no memory.
        static_cast<void>(std::fprintf(stderr, "%s: %s (not logged: %s)\n", what, text, error.what()));
    }
}
