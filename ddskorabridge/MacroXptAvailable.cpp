#include "ddskorabridge/MacroXptAvailable.h"

#include "runtime/misc/Console.h"

#include <algorithm>

using com::tallowcrest::misc::print;

namespace
{

/// The difference is compared, because start + count may not fit in 32 bits.
bool isInBlock(std::uint32_t xpt, std::uint32_t start, std::uint32_t count)
{
    return xpt >= start && xpt - start < count;
}

} // namespace

bool MacroXptAvailable::add(const Sample& sample)
{
    if (m_members.size() >= mostMembers && !m_members.contains(sample.memberIndex))
    {
        return false;
    }
    m_members[sample.memberIndex] = {sample.memberIndex, sample.macroXptInputStart, sample.numMacroXptInputs,
                                     sample.macroXptOutputStart, sample.numMacroXptOutputs};
    return true;
}

void MacroXptAvailable::remove(const Sample& sample)
{
    m_members.erase(sample.memberIndex);
}

bool MacroXptAvailable::isInputAvailable(std::uint32_t xpt) const
{
    return std::any_of(m_members.begin(), m_members.end(), [xpt](const auto& member) {
        return isInBlock(xpt, member.second.inputStart, member.second.numInputs);
    });
}

bool MacroXptAvailable::isOutputAvailable(std::uint32_t xpt) const
{
    return std::any_of(m_members.begin(), m_members.end(), [xpt](const auto& member) {
        return isInBlock(xpt, member.second.outputStart, member.second.numOutputs);
    });
}

void MacroXptAvailable::show(const std::string& title) const
{
    print("MacroXptAvailable::show(%s)\n", title.c_str());
    for (const auto& [index, member] : m_members)
    {
        print("memberIndex %d, inputStart %d, numInputs %d, outputStart %d, numOutputs %d\n",
              static_cast<int>(member.memberIndex), static_cast<int>(member.inputStart),
              static_cast<int>(member.numInputs), static_cast<int>(member.outputStart),
              static_cast<int>(member.numOutputs));
    }
}
