#pragma once

#include "bustypes/RoutingTypes.h"
#include "tools/korasim/RouterObserver.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace korasim
{

/// Reads the words of a command one after another. A word that is missing or is not what was asked for throws
/// std::invalid_argument with a text for people. A plain value.
class WordReader
{
public:
    /// Splits at blanks and at any character of `separators`.
    explicit WordReader(const std::string& text, const std::string& separators = " \t\r");

    bool isAtEnd() const { return m_next == m_words.size(); }
    /// The next word; `what` names it in an error.
    std::string word(const std::string& what);
    /// The next word as a decimal number of at most `max`.
    std::uint32_t number(const std::string& what, std::uint32_t max = std::numeric_limits<std::uint32_t>::max());
    std::uint16_t shortNumber(const std::string& what);
    /// "video" or "audio".
    Signal signal();
    /// "released", "protected", "locked", or a number, so that states that do not exist can be tried too.
    com::tallowcrest::dds_::routing::LPRState lprState();
    /// Output, input and, when given, lprId, state and when.
    com::tallowcrest::dds_::routing::MacroXptOutput macroXptOutput();
    /// Member index, input start and count, output start and count.
    com::tallowcrest::dds_::routing::RouterMemberMacroXpts ranges();
    /// Level id, signal, input start and count, controller input, output start and count, controller output.
    com::tallowcrest::dds_::routing::MacroLevel level();
    /// Throws when words are left.
    void end() const;

private:
    std::vector<std::string> m_words;
    std::size_t m_next = 0;
};

} // namespace korasim
