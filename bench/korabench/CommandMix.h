#pragma once

#include <string>
#include <vector>

namespace korabench
{

/// The commands that can be asked for.
enum class Command
{
    Take,
    CoherentTake,
    Protect,
    Release,
    Tally,
    Status,
    Changes,
    Partition,
    Port,
    System,
    Card,
    Unknown
};

/// As it stands in a mix.
const char* nameOf(Command command);

/// All commands, in the order of the enumeration.
const std::vector<Command>& allCommands();

/// The order in which a controller sends commands, over and over: "take" gives takes alone, "take:8,changes:2" eight
/// takes and two polls in every ten, spread evenly. Throws std::invalid_argument that says what is wrong.
std::vector<Command> parseMix(const std::string& text);

} // namespace korabench
