#include "ddskorabridge/OperatorShow.h"

#include "ddskorabridge/ApartmentCall.h"
#include "ddskorabridge/PrintLines.h"

#include <functional>
#include <utility>
#include <vector>

using com::tallowcrest::apartment::SendDoItEvent;

bool operatorShow::showXpts(SendDoItEvent& apartment, std::shared_ptr<const IXptTable> table, std::uint32_t first,
                            std::uint32_t last, std::chrono::milliseconds timeout)
{
    const auto text = callOnApartment(apartment, std::function<std::string()>([table = std::move(table), first, last] {
                                          return table->table(first, last);
                                      }),
                                      timeout);
    if (!text)
    {
        return false;
    }
    printLines(*text);
    return true;
}

bool operatorShow::showLevels(SendDoItEvent& apartment, std::shared_ptr<const LevelContainer> levels,
                              const std::string& title, std::chrono::milliseconds timeout)
{
    using Entries = std::vector<LevelContainer::Entry>;
    const auto entries = callOnApartment(
        apartment, std::function<Entries()>([levels = std::move(levels)] { return levels->entries(); }), timeout);
    if (!entries)
    {
        return false;
    }
    LevelContainer::showEntries(title, *entries);
    return true;
}
