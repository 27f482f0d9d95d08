#include "tools/korasim/WordReader.h"

#include <charconv>
#include <stdexcept>

namespace korasim
{

namespace routing = com::tallowcrest::dds_::routing;

WordReader::WordReader(const std::string& text, const std::string& separators)
{
    std::size_t begin = text.find_first_not_of(separators);
    while (begin != std::string::npos)
    {
        const std::size_t end = text.find_first_of(separators, begin);
        m_words.push_back(text.substr(begin, end - begin));
        begin = text.find_first_not_of(separators, end);
    }
}

std::string WordReader::word(const std::string& what)
{
    if (isAtEnd())
    {
        throw std::invalid_argument(what + " is missing");
    }
    return m_words[m_next++];
}

std::uint32_t WordReader::number(const std::string& what, std::uint32_t max)
{
    const std::string text = word(what);
    std::uint32_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || value > max)
    {
        throw std::invalid_argument(what + ": '" + text + "' is not a number from 0 to " + std::to_string(max));
    }
    return value;
}

std::uint16_t WordReader::shortNumber(const std::string& what)
{
    return static_cast<std::uint16_t>(number(what, std::numeric_limits<std::uint16_t>::max()));
}

Signal WordReader::signal()
{
    const std::string text = word("video or audio");
    if (text != "video" && text != "audio")
    {
        throw std::invalid_argument("'" + text + "' is neither video nor audio");
    }
    return text == "video" ? Signal::Video : Signal::Audio;
}

routing::LPRState WordReader::lprState()
{
    const std::string text = word("state");
    if (text == "released")
    {
        return routing::LPR_RELEASED;
    }
    if (text == "protected")
    {
        return routing::LPR_PROTECTED;
    }
    if (text == "locked")
    {
        return routing::LPR_LOCKED;
    }
    --m_next;
    return static_cast<routing::LPRState>(number("state (released, protected, locked)"));
}

routing::MacroXptOutput WordReader::macroXptOutput()
{
    routing::MacroXptOutput sample;
    sample.macroXptOutput = number("output");
    sample.macroXptInput = number("input");
    if (!isAtEnd())
    {
        sample.lprId = number("lprId");
    }
    if (!isAtEnd())
    {
        sample.lprState = lprState();
    }
    if (!isAtEnd())
    {
        sample.when = number("when");
    }
    return sample;
}

routing::RouterMemberMacroXpts WordReader::ranges()
{
    routing::RouterMemberMacroXpts sample;
    sample.memberIndex = shortNumber("member index");
    sample.macroXptInputStart = number("first input");
    sample.numMacroXptInputs = number("number of inputs");
    sample.macroXptOutputStart = number("first output");
    sample.numMacroXptOutputs = number("number of outputs");
    return sample;
}

routing::MacroLevel WordReader::level()
{
    routing::MacroLevel sample;
    sample.levelId = shortNumber("level");
    sample.levelSignalType = signal() == Signal::Video ? routing::LST_Video : routing::LST_Audio;
    sample.macroXptInputStart = number("first input");
    sample.numMacroXptInputs = number("number of inputs");
    sample.controllerInputStart = number("first controller input");
    sample.macroXptOutputStart = number("first output");
    sample.numMacroXptOutputs = number("number of outputs");
    sample.controllerOutputStart = number("first controller output");
    return sample;
}

void WordReader::end() const
{
    if (!isAtEnd())
    {
        throw std::invalid_argument("'" + m_words[m_next] + "' is one word too many");
    }
}

} // namespace korasim
