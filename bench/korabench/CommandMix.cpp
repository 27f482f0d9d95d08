#include "bench/korabench/CommandMix.h"

#include <algorithm>
#include <charconv>
#include <sstream>
#include <stdexcept>

namespace korabench
{
namespace
{

/// Commands in one round of a mix.
constexpr unsigned mostPerRound = 10000;

struct Share
{
    Command command;
    unsigned weight = 1;
    int credit = 0;
};

Command parseCommand(const std::string& name)
{
    for (const Command command : mixCommands())
    {
        if (name == nameOf(command))
        {
            return command;
        }
    }
    throw std::invalid_argument("no such command: '" + name + "'");
}

unsigned parseWeight(const std::string& text)
{
    unsigned weight = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), weight);
    if (error != std::errc() || end != text.data() + text.size() || weight == 0 || weight > mostPerRound)
    {
        throw std::invalid_argument("'" + text + "' is no weight from 1 to " + std::to_string(mostPerRound));
    }
    return weight;
}

Share parseShare(const std::string& text)
{
    const auto colon = text.find(':');
    Share share{.command = parseCommand(text.substr(0, colon))};
    if (colon != std::string::npos)
    {
        share.weight = parseWeight(text.substr(colon + 1));
    }
    return share;
}

} // namespace

const char* nameOf(Command command)
{
    switch (command)
    {
    case Command::Take:
        return "take";
    case Command::CoherentTake:
        return "coherent-take";
    case Command::Protect:
        return "protect";
    case Command::Release:
        return "release";
    case Command::Tally:
        return "tally";
    case Command::Status:
        return "status";
    case Command::Changes:
        return "changes";
    case Command::Partition:
        return "partition";
    case Command::Port:
        return "port";
    case Command::System:
        return "system";
    case Command::Card:
        return "card";
    case Command::Unknown:
        return "unknown";
    case Command::Publish:
        return "publish";
    }
    return "";
}

const std::vector<Command>& mixCommands()
{
    static const std::vector<Command> all{Command::Take,  Command::CoherentTake, Command::Protect, Command::Release,
                                          Command::Tally, Command::Status,       Command::Changes, Command::Partition,
                                          Command::Port,  Command::System,       Command::Card,    Command::Unknown};
    return all;
}

std::vector<Command> parseMix(const std::string& text)
{
    std::vector<Share> shares;
    unsigned total = 0;
    std::istringstream parts(text);
    for (std::string part; std::getline(parts, part, ',');)
    {
        shares.push_back(parseShare(part));
        total += shares.back().weight;
    }
    if (shares.empty() || total > mostPerRound)
    {
        throw std::invalid_argument("a mix is a list such as take:8,changes:2");
    }
    std::vector<Command> order;
    order.reserve(total);
    while (order.size() < total)
    {
        for (Share& share : shares)
        {
            share.credit += static_cast<int>(share.weight);
        }
        const auto next = std::max_element(shares.begin(), shares.end(),
                                           [](const Share& a, const Share& b) { return a.credit < b.credit; });
        next->credit -= static_cast<int>(total);
        order.push_back(next->command);
    }
    return order;
}

} // namespace korabench
