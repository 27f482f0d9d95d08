#include "runtime/misc/TelnetLineReader.h"

#include <utility>

namespace com::tallowcrest::misc
{
namespace
{
// Telnet commands, RFC 854.
constexpr unsigned char endSubnegotiation = 240;
constexpr unsigned char lowestCommand = 240;
constexpr unsigned char eraseCharacterCommand = 247;
constexpr unsigned char eraseLineCommand = 248;
constexpr unsigned char beginSubnegotiation = 250;
constexpr unsigned char lowestOptionCommand = 251; // WILL, WONT, DO, DONT
constexpr unsigned char doOption = 253;
constexpr unsigned char interpretAsCommand = 255;
constexpr unsigned char timingMarkOption = 6; // RFC 860

constexpr unsigned char backspace = 0x08;
constexpr unsigned char firstPrintable = 0x20;
constexpr unsigned char deleteCharacter = 0x7f;

bool isUtf8Continuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U;
}
} // namespace

void TelnetLineReader::feed(std::string_view bytes)
{
    for (const char byte : bytes)
    {
        takeByte(static_cast<unsigned char>(byte));
    }
}

std::optional<std::string> TelnetLineReader::takeLine()
{
    if (m_lines.empty())
    {
        return std::nullopt;
    }
    std::string line = std::move(m_lines.front());
    m_lines.pop_front();
    return line;
}

bool TelnetLineReader::takeTimingMarkRequest()
{
    return std::exchange(m_timingMarkRequested, false);
}

void TelnetLineReader::takeByte(unsigned char byte)
{
    switch (m_state)
    {
    case State::Text:
        if (byte == interpretAsCommand)
        {
            m_state = State::Command;
        }
        else
        {
            takeText(byte);
        }
        break;
    case State::Command:
        takeCommand(byte);
        break;
    case State::RequestedOption:
        m_timingMarkRequested = m_timingMarkRequested || byte == timingMarkOption;
        m_state = State::Text;
        break;
    case State::Option:
        m_state = State::Text;
        break;
    case State::Subnegotiation:
    case State::SubnegotiationIac:
        takeSubnegotiationByte(byte);
        break;
    }
}

void TelnetLineReader::takeCommand(unsigned char command)
{
    m_state = State::Text;
    if (command == interpretAsCommand || command < lowestCommand)
    {
        takeText(command); // a doubled 255 is the byte itself; anything low is text after a stray 255
    }
    else if (command >= lowestOptionCommand)
    {
        m_state = command == doOption ? State::RequestedOption : State::Option;
    }
    else if (command == beginSubnegotiation)
    {
        m_state = State::Subnegotiation;
        m_subnegotiationSize = 0;
    }
    else if (command == eraseCharacterCommand)
    {
        eraseCharacter();
    }
    else if (command == eraseLineCommand)
    {
        eraseLine();
    }
}

void TelnetLineReader::takeSubnegotiationByte(unsigned char byte)
{
    if (m_state == State::SubnegotiationIac && byte != interpretAsCommand)
    {
        m_state = State::Text;
        if (byte != endSubnegotiation)
        {
            takeCommand(byte); // the sub-negotiation was never ended
        }
        return;
    }
    const bool isIac = m_state == State::Subnegotiation && byte == interpretAsCommand;
    m_state = isIac ? State::SubnegotiationIac : State::Subnegotiation;
    if (++m_subnegotiationSize >= maxSubnegotiationSize)
    {
        m_state = State::Text;
    }
}

void TelnetLineReader::takeText(unsigned char byte)
{
    const bool afterCarriageReturn = std::exchange(m_afterCarriageReturn, byte == '\r');
    if (byte == '\r')
    {
        endLine();
    }
    else if (byte == '\n')
    {
        if (!afterCarriageReturn)
        {
            endLine();
        }
    }
    else if (byte == backspace || byte == deleteCharacter)
    {
        eraseCharacter();
    }
    else if (byte >= firstPrintable || byte == '\t')
    {
        if (m_line.size() < maxLineSize)
        {
            m_line += static_cast<char>(byte);
        }
        else
        {
            ++m_overflow;
        }
    }
}

void TelnetLineReader::endLine()
{
    m_lines.push_back(std::exchange(m_line, {}));
    m_overflow = 0;
}

void TelnetLineReader::eraseLine()
{
    m_line.clear();
    m_overflow = 0;
}

void TelnetLineReader::eraseCharacter()
{
    if (m_overflow > 0)
    {
        --m_overflow;
        return;
    }
    while (!m_line.empty() && isUtf8Continuation(m_line.back()))
    {
        m_line.pop_back();
    }
    if (!m_line.empty())
    {
        m_line.pop_back();
    }
}

} // namespace com::tallowcrest::misc
