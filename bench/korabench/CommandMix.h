#pragma once

#include <string>
#include <vector>

namespace korabench
{

/// What a client sends.
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
    Unknown,
    Publish ///< a message to an MQTT broker, for comparison; in no mix
};

/// As it stands in a mix.
const char* nameOf(Command command);

/// Those that a mix may hold, in the order of the enumeration.
const std::vector<Command>& mixCommands();

/// The order in which a controller sends commands, over and over: "take" gives takes alone, "take:8,changes:2" eight
/// takes and two polls in every ten, spread evenly. Throws std::invalid_argument that says what is wrong.
std::vector<Command> parseMix(const std::string& text);

} // namespace korabench
