#include "ddskorabridge/OperatorShow.h"

#include "runtime/apartment/ApartmentCall.h"
#include "runtime/misc/Console.h"

#include <functional>
#include <vector>

using com::tallowcrest::apartment::callOnApartment;
using com::tallowcrest::apartment::SendDoItEvent;
using com::tallowcrest::misc::printLines;

// The work holds what it looks at weakly: left in the queue of an apartment that has stopped, it would otherwise keep
// the managers alive, which in turn hold the apartment.

bool operatorShow::showXpts(SendDoItEvent& apartment, const std::shared_ptr<const IXptTable>& table,
                            std::uint32_t first, std::uint32_t last, std::chrono::milliseconds timeout)
{
    const auto work = [watched = std::weak_ptr(table), first, last] {
        const auto present = watched.lock();
        return present ? present->table(first, last) : std::string();
    };
    const auto text = callOnApartment(apartment, std::function<std::string()>(work), timeout);
    if (!text)
    {
        return false;
    }
    printLines(*text);
    return true;
}

bool operatorShow::showLevels(SendDoItEvent& apartment, const std::shared_ptr<const LevelContainer>& levels,
                              const std::string& title, std::chrono::milliseconds timeout)
{
    using Entries = std::vector<LevelContainer::Entry>;
    const auto work = [watched = std::weak_ptr(levels)] {
        const auto present = watched.lock();
        return present ? present->entries() : Entries();
    };
    const auto entries = callOnApartment(apartment, std::function<Entries()>(work), timeout);
    if (!entries)
    {
        return false;
    }
    LevelContainer::showEntries(title, *entries);
    return true;
}
