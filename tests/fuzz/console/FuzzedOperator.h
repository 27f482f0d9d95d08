#pragma once

#include "runtime/misc/TelnetClient.h"
#include "runtime/misc/TelnetLineReader.h"
#include "runtime/util/UniqueFd.h"
#include "tests/fuzz/support/Segments.h"

#include <cstdarg>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace fuzz
{

/// An operator whose keystrokes are the input, at the bridge's end of a connection; what the bridge prints arrives at
/// the other end and is checked. For one thread.
class FuzzedOperator
{
public:
    /// The low bits of `manner` say in which segments the keystrokes arrive, the highest that he reads nothing until he
    /// leaves.
    FuzzedOperator(std::uint8_t manner, std::span<const std::uint8_t> keystrokes);
    FuzzedOperator(const FuzzedOperator&) = delete;
    FuzzedOperator& operator=(const FuzzedOperator&) = delete;

    /// As the console's functions do it.
    [[gnu::format(printf, 2, 0)]] void print(const char* format, std::va_list arguments);
    int getline(char* buffer, int size);

    /// The line that `getline` gave last, as the caller got it, since this was asked last.
    std::optional<std::string> takeAnswer() { return std::exchange(m_answer, std::nullopt); }

    /// Ends the connection and checks what has come of it.
    void leave();

private:
    /// The next keystrokes reach the bridge; false when there are none.
    bool type();
    void read();

    const bool m_isStalled;
    Segments m_segments;
    std::span<const std::uint8_t> m_keystrokes;
    com::tallowcrest::util::UniqueFd m_socket; ///< the operator's end
    std::unique_ptr<com::tallowcrest::misc::TelnetClient> m_client;

    com::tallowcrest::misc::TelnetLineReader m_plain; ///< fed byte by byte: segments must make no difference
    std::optional<std::string> m_answer;
    std::string m_printed;
    std::string m_seen;
};

} // namespace fuzz
