#include "bench/korabench/Request.h"

#include "koraclient/RequestEncoder.h"
#include "koracommand/WireLayout.h"

namespace korabench
{
namespace
{

namespace wire = wireLayout;

/// No command has it.
constexpr std::uint32_t unknownId = 0x00000099;
constexpr std::uint32_t cardWord = 3;

std::uint32_t outputOf(const RequestShape& shape, std::uint32_t entry)
{
    return shape.firstOutput + (shape.offset + entry) % shape.outputs;
}

std::vector<koraclient::TakeEntry> takeEntries(const RequestShape& shape, std::uint32_t round)
{
    std::vector<koraclient::TakeEntry> entries;
    for (std::uint32_t i = 0; i < shape.entries; ++i)
    {
        const std::uint32_t input = shape.firstInput + (shape.offset + i + round) % shape.inputs;
        entries.push_back({.level = shape.level, .lprId = shape.lprId, .input = input, .output = outputOf(shape, i)});
    }
    return entries;
}

std::vector<koraclient::LprEntry> lprEntries(const RequestShape& shape, koraclient::LprCommand command)
{
    std::vector<koraclient::LprEntry> entries;
    for (std::uint32_t i = 0; i < shape.entries; ++i)
    {
        entries.push_back(
            {.level = shape.level, .output = outputOf(shape, i), .command = command, .lprId = shape.lprId});
    }
    return entries;
}

Request buildRequest(Command command, const RequestShape& shape, std::uint32_t round)
{
    const koraclient::RequestEncoder encoder(0);
    const auto request = [&](std::vector<std::uint8_t> bytes, std::uint32_t responseId) {
        return Request{.command = command, .shape = shape, .bytes = std::move(bytes), .responseId = responseId};
    };
    switch (command)
    {
    case Command::Take:
        return request(encoder.take(takeEntries(shape, round)), wire::rspId::take);
    case Command::CoherentTake:
        return request(encoder.coherentTake(takeEntries(shape, round)), wire::rspId::coherentTake);
    case Command::Protect:
        return request(encoder.setOutputLpr(lprEntries(shape, koraclient::LprCommand::protect)),
                       wire::rspId::setOutputLpr);
    case Command::Release:
        return request(encoder.setOutputLpr(lprEntries(shape, koraclient::LprCommand::release)),
                       wire::rspId::setOutputLpr);
    case Command::Tally:
        return request(encoder.tally(shape.level, shape.firstOutput, shape.count), wire::rspId::tally);
    case Command::Status:
        return request(encoder.outputStatus(shape.format, shape.level, shape.firstOutput, shape.count),
                       wire::rspId::getOutputStatus);
    case Command::Changes:
        return request(encoder.outputChanges(shape.format, shape.level), wire::rspId::getOutputChanges);
    case Command::Partition:
        return request(encoder.partitionInfo(), wire::rspId::partitionInfo);
    case Command::Port:
        return request(encoder.portPresent(), wire::rspId::routerPortPresent);
    case Command::System:
        return request(encoder.systemStatus(shape.format), wire::rspId::readySystemStatus);
    case Command::Card:
        return request(encoder.cardPresence(cardWord), wire::rspId::ccPresence);
    case Command::Unknown:
    case Command::Publish:
        break;
    }
    return request(encoder.raw(unknownId, {}), wire::rspId::error);
}

} // namespace

std::vector<Request> buildRequests(const std::vector<Command>& order, const RequestShape& shape)
{
    constexpr std::uint32_t rounds = 2;
    std::vector<Request> requests;
    for (std::uint32_t round = 0; round < rounds; ++round)
    {
        for (const Command command : order)
        {
            requests.push_back(buildRequest(command, shape, round));
        }
    }
    return requests;
}

} // namespace korabench
