#include "runtime/misc/PrintLines.h"

#include "runtime/misc/Console.h"

namespace com::tallowcrest::misc
{

void printLines(std::string_view text)
{
    while (!text.empty())
    {
        const std::size_t lineEnd = text.find('\n');
        const std::size_t length = lineEnd == std::string_view::npos ? text.size() : lineEnd + 1;
        print("%.*s", static_cast<int>(length), text.data());
        text.remove_prefix(length);
    }
}

} // namespace com::tallowcrest::misc
