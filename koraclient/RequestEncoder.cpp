#include "koraclient/RequestEncoder.h"

#include "koracommand/WireLayout.h"
#include "koracommand/WireWords.h"

#include <stdexcept>
#include <string>

namespace koraclient
{
namespace
{

namespace wire = wireLayout;

/// The bytes of a list of n entries, or std::length_error when they do not fit a message.
std::size_t entryListBytes(std::size_t n)
{
    if (n > wire::entryListReq::maxEntries)
    {
        throw std::length_error(std::to_string(n) + " entries do not fit a message; at most " +
                                std::to_string(wire::entryListReq::maxEntries) + " do");
    }
    return wire::entryListReq::length(static_cast<std::uint32_t>(n));
}

void writeEntry(WireWriter writer, std::size_t i, std::uint32_t level, std::uint32_t argument1, std::uint32_t argument2,
                std::uint32_t argument3)
{
    const std::size_t at = wire::entryListReq::entries + i * wire::entryListReq::entryBytes;
    writer.setBigEndianWordAt(at + wire::entryListReq::entryLevel, level);
    writer.setBigEndianWordAt(at + wire::entryListReq::entryArgument1, argument1);
    writer.setBigEndianWordAt(at + wire::entryListReq::entryArgument2, argument2);
    writer.setBigEndianWordAt(at + wire::entryListReq::entryArgument3, argument3);
}

} // namespace

void RequestEncoder::setTag(std::span<std::uint8_t> request, std::uint32_t tag)
{
    WireWriter(request).setBigEndianWordAt(wire::header::sequence, tag);
}

std::vector<std::uint8_t> RequestEncoder::blank(std::uint32_t id, std::size_t length) const
{
    if (length > wire::maxMessageBytes)
    {
        throw std::length_error("a message of " + std::to_string(length) + " bytes does not fit; at most " +
                                std::to_string(wire::maxMessageBytes) + " do");
    }
    std::vector<std::uint8_t> bytes(length);
    const WireWriter writer(bytes);
    writer.setBigEndianWordAt(wire::header::protocolType, wire::routerControlProtocol);
    writer.setBigEndianWordAt(wire::header::sequence, m_tag);
    writer.setBigEndianWordAt(wire::header::length, static_cast<std::uint32_t>(length));
    writer.setBigEndianWordAt(wire::header::msgId, id);
    return bytes;
}

std::vector<std::uint8_t> RequestEncoder::raw(std::uint32_t id, const std::vector<std::uint32_t>& payload) const
{
    auto bytes = blank(id, wire::header::bytes + payload.size() * wire::wordBytes);
    for (std::size_t i = 0; i < payload.size(); ++i)
    {
        WireWriter(bytes).setBigEndianWordAt(wire::header::bytes + i * wire::wordBytes, payload[i]);
    }
    return bytes;
}

std::vector<std::uint8_t> RequestEncoder::takeWithId(std::uint32_t id, const std::vector<TakeEntry>& entries) const
{
    auto bytes = blank(id, entryListBytes(entries.size()));
    const WireWriter writer(bytes);
    writer.setBigEndianWordAt(wire::entryListReq::count, static_cast<std::uint32_t>(entries.size()));
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        writeEntry(writer, i, entries[i].level, entries[i].lprId, entries[i].input, entries[i].output);
    }
    return bytes;
}

std::vector<std::uint8_t> RequestEncoder::take(const std::vector<TakeEntry>& entries) const
{
    return takeWithId(wire::msgId::take, entries);
}

std::vector<std::uint8_t> RequestEncoder::coherentTake(const std::vector<TakeEntry>& entries) const
{
    return takeWithId(wire::msgId::coherentTake, entries);
}

std::vector<std::uint8_t> RequestEncoder::setOutputLpr(const std::vector<LprEntry>& entries) const
{
    auto bytes = blank(wire::msgId::setOutputLpr, entryListBytes(entries.size()));
    const WireWriter writer(bytes);
    writer.setBigEndianWordAt(wire::entryListReq::count, static_cast<std::uint32_t>(entries.size()));
    for (std::size_t i = 0; i < entries.size(); ++i)
    {
        writeEntry(writer, i, entries[i].level, entries[i].output, static_cast<std::uint32_t>(entries[i].command),
                   entries[i].lprId);
    }
    return bytes;
}

std::vector<std::uint8_t> RequestEncoder::tally(std::uint32_t level, std::uint32_t first, std::uint32_t count) const
{
    auto bytes = blank(wire::msgId::tally, wire::tallyReq::length);
    const WireWriter writer(bytes);
    writer.setBigEndianWordAt(wire::tallyReq::level, level);
    writer.setBigEndianWordAt(wire::tallyReq::firstOutput, first);
    writer.setBigEndianWordAt(wire::tallyReq::count, count);
    return bytes;
}

std::vector<std::uint8_t> RequestEncoder::outputStatus(std::uint32_t format, std::uint32_t level, std::uint32_t first,
                                                       std::uint32_t count) const
{
    auto bytes = blank(wire::msgId::getOutputStatus, wire::getOutputStatusReq::length);
    const WireWriter writer(bytes);
    writer.setBigEndianWordAt(wire::getOutputStatusReq::format, format);
    writer.setBigEndianWordAt(wire::getOutputStatusReq::level, level);
    writer.setBigEndianWordAt(wire::getOutputStatusReq::firstOutput, first);
    writer.setBigEndianWordAt(wire::getOutputStatusReq::count, count);
    return bytes;
}

std::vector<std::uint8_t> RequestEncoder::outputChanges(std::uint32_t format, std::uint32_t level) const
{
    auto bytes = blank(wire::msgId::getOutputChanges, wire::getOutputChangesReq::length);
    const WireWriter writer(bytes);
    writer.setBigEndianWordAt(wire::getOutputChangesReq::format, format);
    writer.setBigEndianWordAt(wire::getOutputChangesReq::level, level);
    return bytes;
}

std::vector<std::uint8_t> RequestEncoder::partitionInfo() const
{
    return blank(wire::msgId::partitionInfo, wire::header::bytes);
}

std::vector<std::uint8_t> RequestEncoder::portPresent() const
{
    return blank(wire::msgId::routerPortPresent, wire::header::bytes);
}

std::vector<std::uint8_t> RequestEncoder::systemStatus(std::uint32_t format) const
{
    auto bytes = blank(wire::msgId::readySystemStatus, wire::readySystemStatusReq::length);
    WireWriter(bytes).setBigEndianWordAt(wire::readySystemStatusReq::format, format);
    return bytes;
}

std::vector<std::uint8_t> RequestEncoder::cardPresence(std::uint32_t word) const
{
    auto bytes = blank(wire::msgId::ccPresence, wire::ccPresenceReq::length);
    WireWriter(bytes).setBigEndianWordAt(wire::ccPresenceReq::card, word);
    return bytes;
}

} // namespace koraclient
