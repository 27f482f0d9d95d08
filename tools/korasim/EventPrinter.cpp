#include "tools/korasim/EventPrinter.h"

#include "runtime/util/VisibleText.h"

#include <limits>
#include <ostream>

namespace korasim
{

namespace routing = com::tallowcrest::dds_::routing;

namespace
{

std::string stateName(routing::LPRState state)
{
    switch (state)
    {
    case routing::LPR_RELEASED:
        return "released";
    case routing::LPR_PROTECTED:
        return "protected";
    case routing::LPR_LOCKED:
        return "locked";
    }
    return "state " + std::to_string(static_cast<std::uint32_t>(state));
}

std::string inputName(std::uint32_t input)
{
    return input == std::numeric_limits<std::uint32_t>::max() ? "none" : std::to_string(input);
}

} // namespace

std::string describeOutput(Signal signal, const routing::MacroXptOutput& sample)
{
    return std::string(toString(signal)) + " output " + std::to_string(sample.macroXptOutput) + " input " +
           inputName(sample.macroXptInput) + " lprId " + std::to_string(sample.lprId) + " " +
           stateName(sample.lprState) + " when " + std::to_string(sample.when);
}

void EventPrinter::onTarget(Signal signal, const routing::MacroXptOutput& target, bool isRefused)
{
    print("target " + describeOutput(signal, target) + (isRefused ? " (refused)" : ""));
}

void EventPrinter::onTargetGone(Signal signal, std::uint32_t output, Liveness liveness)
{
    print(std::string("target ") + toString(signal) + " output " + std::to_string(output) + " " + toString(liveness));
}

void EventPrinter::onStatus(Signal signal, const routing::MacroXptOutput& status)
{
    print("status " + describeOutput(signal, status));
}

void EventPrinter::onComponent(const routing::ComponentInfo& component, Liveness liveness)
{
    std::string line =
        "component frame " + std::to_string(component.frameId) + " id " + std::to_string(component.componentId);
    if (liveness == Liveness::Alive)
    {
        using com::tallowcrest::util::visibleText;
        line += " '" + visibleText(component.name) + "' '" + visibleText(component.description) + "'";
    }
    print(line + " " + toString(liveness));
}

void EventPrinter::print(const std::string& line)
{
    m_out << (line + "\n") << std::flush;
}

} // namespace korasim
