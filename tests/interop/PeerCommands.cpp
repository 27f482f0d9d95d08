#include "tests/interop/PeerCommands.h"

#include "tests/interop/FastLibrary.h"

#include <sstream>
#include <stdexcept>

namespace
{

template <typename T>
T next(std::istringstream& words)
{
    T word{};
    if (!(words >> word))
    {
        throw std::runtime_error("a number or word is missing");
    }
    return word;
}

Signal nextSignal(std::istringstream& words)
{
    const auto word = next<std::string>(words);
    if (word != "video" && word != "audio")
    {
        throw std::runtime_error("neither video nor audio: " + word);
    }
    return word == "video" ? Signal::Video : Signal::Audio;
}

/// Cuts a trailing "-dispose" or "-unregister" off the command.
Operation cutOperation(std::string& command)
{
    const auto cut = [&command](const std::string& ending) {
        if (!command.ends_with(ending))
        {
            return false;
        }
        command.resize(command.size() - ending.size());
        return true;
    };
    if (cut("-dispose"))
    {
        return Operation::Dispose;
    }
    return cut("-unregister") ? Operation::Unregister : Operation::Write;
}

FastRouter::RouterMember nextMember(std::istringstream& words)
{
    FastRouter::RouterMember sample;
    sample.frameId(next<std::uint32_t>(words));
    sample.routerPartition(next<std::string>(words));
    sample.memberIndex(next<std::uint16_t>(words));
    return sample;
}

FastRouter::RouterMemberMacroXpts nextRanges(std::istringstream& words)
{
    FastRouter::RouterMemberMacroXpts sample;
    sample.memberIndex(next<std::uint16_t>(words));
    sample.macroXptInputStart(next<std::uint32_t>(words));
    sample.numMacroXptInputs(next<std::uint32_t>(words));
    sample.macroXptOutputStart(next<std::uint32_t>(words));
    sample.numMacroXptOutputs(next<std::uint32_t>(words));
    return sample;
}

FastRouter::MacroLevel nextLevel(std::istringstream& words)
{
    namespace routing = com::tallowcrest::dds_::routing;
    FastRouter::MacroLevel sample;
    sample.levelId(next<std::uint16_t>(words));
    sample.levelSignalType(nextSignal(words) == Signal::Video ? routing::MacroLevelSignalType::LST_Video
                                                              : routing::MacroLevelSignalType::LST_Audio);
    sample.macroXptInputStart(next<std::uint32_t>(words));
    sample.numMacroXptInputs(next<std::uint32_t>(words));
    sample.controllerInputStart(next<std::uint32_t>(words));
    sample.macroXptOutputStart(next<std::uint32_t>(words));
    sample.numMacroXptOutputs(next<std::uint32_t>(words));
    sample.controllerOutputStart(next<std::uint32_t>(words));
    return sample;
}

FastRouter::MacroXptOutput nextOutput(std::istringstream& words)
{
    FastRouter::MacroXptOutput sample;
    sample.macroXptOutput(next<std::uint32_t>(words));
    sample.macroXptInput(next<std::uint32_t>(words));
    sample.when(next<std::uint32_t>(words));
    sample.lprId(next<std::uint32_t>(words));
    sample.lprState(static_cast<com::tallowcrest::dds_::routing::LPRState>(next<std::uint32_t>(words)));
    return sample;
}

} // namespace

void PeerCommands::execute(const std::string& line)
{
    std::istringstream words(line);
    auto command = next<std::string>(words);
    const Operation operation = cutOperation(command);
    if (command == "member")
    {
        m_router.member(operation, nextMember(words));
    }
    else if (command == "ranges")
    {
        const Signal signal = nextSignal(words);
        m_router.ranges(operation, signal, nextRanges(words));
    }
    else if (command == "level")
    {
        m_router.level(operation, nextLevel(words));
    }
    else if (command == "status" || command == "local-target")
    {
        const Signal signal = nextSignal(words);
        const FastRouter::MacroXptOutput sample = nextOutput(words);
        if (command == "status")
        {
            m_router.status(operation, signal, sample);
        }
        else
        {
            m_router.localTarget(operation, signal, sample);
        }
    }
    else
    {
        throw std::runtime_error("no such command");
    }
}
