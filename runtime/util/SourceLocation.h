#pragma once

#include <cstdint>

namespace com::tallowcrest::util
{

/// Where a call stands in the source, as a default argument of the function that is called. What std::source_location
/// is; Debian 12's clang, which lints and fuzzes, does not have that.
struct SourceLocation
{
    const char* file;
    const char* function;
    std::uint_least32_t line;

    static constexpr SourceLocation current(const char* file = __builtin_FILE(),
                                            const char* function = __builtin_FUNCTION(),
                                            std::uint_least32_t line = __builtin_LINE())
    {
        return {file, function, line};
    }
};

} // namespace com::tallowcrest::util
