#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace com::tallowcrest::misc
{

/// Makes lines of the bytes that a telnet client sends, however they are cut into segments. A line ends with CR LF, LF,
/// CR NUL or a CR followed by anything else. Negotiation and other telnet commands are filtered out, control characters
/// dropped; backspace, delete and the telnet erase commands edit the line. A line over the limit loses its rest, up to
/// its own end. A plain value that belongs to one thread; makes no system calls.
class TelnetLineReader
{
public:
    /// In bytes, line end not counted.
    static constexpr std::size_t maxLineSize = 1024;
    /// A sub-negotiation that has not ended after so many bytes is no longer believed; text follows.
    static constexpr std::size_t maxSubnegotiationSize = 512;

    void feed(std::string_view bytes);

    /// The oldest complete line, without its end.
    std::optional<std::string> takeLine();

    /// True once after requests for a timing mark (IAC DO TIMING-MARK): the client throws all output away until it has
    /// an answer, so this one must be given.
    bool takeTimingMarkRequest();

private:
    enum class State
    {
        Text,
        Command,           ///< after IAC
        Option,            ///< after IAC WILL, WONT, DONT
        RequestedOption,   ///< after IAC DO
        Subnegotiation,    ///< after IAC SB
        SubnegotiationIac, ///< after an IAC in a sub-negotiation
    };

    void takeByte(unsigned char byte);
    void takeCommand(unsigned char command);
    void takeSubnegotiationByte(unsigned char byte);
    void takeText(unsigned char byte);
    void endLine();
    void eraseLine();
    void eraseCharacter();

    State m_state = State::Text;
    std::size_t m_subnegotiationSize = 0;
    bool m_afterCarriageReturn = false;
    bool m_timingMarkRequested = false;
    std::string m_line;
    std::size_t m_overflow = 0; ///< bytes of the line that did not fit
    std::deque<std::string> m_lines;
};

} // namespace com::tallowcrest::misc
