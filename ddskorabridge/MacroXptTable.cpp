#include "ddskorabridge/MacroXptTable.h"

#include "runtime/util/Timecode.h"

#include <algorithm>
#include <array>
#include <cstdio>

using namespace com::tallowcrest::dds_::routing;

namespace
{

constexpr const char* header = "routerPartition  Output  Input      When      LprId  LprState\n"
                               "---------------- ------ ------ -------------- ----- ---------\n";

const char* stateName(LPRState state)
{
    switch (state)
    {
    case LPR_RELEASED:
        return "released";
    case LPR_PROTECTED:
        return "protected";
    case LPR_LOCKED:
        return "locked";
    default:
        return ""; // the bus may carry anything
    }
}

std::string row(const std::string& routerPartition, const MacroXptTable::Record& record)
{
    std::array<char, 16> when{};
    com::tallowcrest::util::Timecode(record.when).toString(when.data(), when.size());
    std::array<char, 160> line{};
    static_cast<void>(std::snprintf(line.data(), line.size(), "%16s %6d %6d %14s %5d %9s\n", routerPartition.c_str(),
                                    static_cast<int>(record.macroXptOutput), static_cast<int>(record.macroXptInput),
                                    when.data(), static_cast<int>(record.lprId), stateName(record.lprState)));
    return line.data();
}

} // namespace

MacroXptTable::MacroXptTable(std::uint32_t maxOutput) : m_maxOutput(maxOutput), m_records(std::size_t{maxOutput} + 1)
{
    for (std::size_t output = 0; output < m_records.size(); ++output)
    {
        reset(static_cast<std::uint32_t>(output));
    }
}

void MacroXptTable::reset(std::uint32_t output)
{
    Record& record = m_records[output];
    record = Record();
    record.macroXptOutput = output;
    record.macroXptInput = noInput;
}

std::string MacroXptTable::text(const std::string& routerPartition, std::uint32_t first, std::uint32_t last) const
{
    if (!contains(first))
    {
        return {};
    }
    std::string result = header;
    const std::size_t end = std::size_t{std::min(last, m_maxOutput)} + 1;
    for (std::size_t output = first; output < end; ++output)
    {
        result += row(routerPartition, m_records[output]);
    }
    return result;
}
